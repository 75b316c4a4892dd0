// A stream file while it is recorded into.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "StreamFileAccess.h"
#include "service/ring/SlotFiller.h"
#include "store/EventStore.h"

namespace workstation::service::ring {

// The table of files and the database always agree on it as far as they must: the database knows of
// the file before the table states a length, and what the table states has been written.
class RingFile {
public:
    // `file` is open for writing, and empty.
    RingFile(std::unique_ptr<StreamFileAccess> file, int number, int stream,
             store::EventStore& store)
        : file_(std::move(file))
        , number_(number)
        , stream_(stream)
        , store_(store) {}

    int Number() const { return number_; }

    // Appends packets; `contents` is what the file then holds. `now` stands in for the times of
    // ticks while there are none. Throws a std::exception, and can be repeated, when that fails.
    void Append(std::span<unsigned char const> packets, SlotContents const& contents,
                std::int64_t now);

    // The recording into this file has ended. May be repeated, too.
    void Finish(SlotContents const& contents, std::int64_t now);

private:
    std::unique_ptr<StreamFileAccess> file_;
    int number_;
    int stream_;
    store::EventStore& store_;
    std::optional<std::int64_t> link_; // in the chain of the stream, once something was written
};

} // namespace workstation::service::ring
