// The stream file that a recording is being written into.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "pool/StreamFile.h"
#include "service/ring/SlotCutter.h"
#include "store/EventStore.h"

namespace workstation::service::ring {

// Keeps the table of files and the database in line: the database knows of the file before the
// table states a length, and the bytes are written before a length covers them.
class FileBeingRecorded {
public:
    // `file` is open for writing, and empty. What is passed by reference outlives the object.
    FileBeingRecorded(std::unique_ptr<pool::StreamFile> file, pool::PoolImage& image, int stream,
                      store::EventStore& store)
        : file_(std::move(file))
        , image_(image)
        , stream_(static_cast<unsigned int>(stream))
        , store_(store) {}

    int Number() const { return file_->Number(); }

    // Appends packets; `contents` is what the file has with them. `now`, in seconds since the
    // epoch, stands in for the time of the first tick while there is none. Throws a Failure; can
    // then be repeated.
    void Append(std::span<unsigned char const> packets, SlotContents const& contents,
                std::int64_t now);

    // The recording into this file has ended. Throws a Failure; can then be repeated.
    void Finish(SlotContents const& contents, std::int64_t now);

private:
    void Write(std::span<unsigned char const> packets, std::size_t offset);

    std::unique_ptr<pool::StreamFile> file_;
    pool::PoolImage& image_;
    unsigned int stream_;
    store::EventStore& store_;
    std::optional<std::int64_t> link_; // in the chain of the stream; null before the first write
};

} // namespace workstation::service::ring
