// Where a recording gets its bytes from: a file, a device, a pipe, standard input.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "FileDescriptor.h"
#include "service/recording/StopEvent.h"

namespace workstation::service::recording {

class Source {
public:
    // "-" is standard input, anything else a path. Never waits for the other end of a pipe.
    // Nothing, with the reason in `error`, when there is no such source.
    static std::optional<Source> Open(std::string const& name, std::string& error);

    // Whether the bytes are to be taken as they come: from all but a regular file.
    bool IsLive() const { return isLive_; }

    enum class Outcome { bytes, timeout, end, stopped, failed };
    struct Result {
        Outcome outcome;
        std::size_t size = 0; // of the bytes, at least 1
        int error = 0;        // of the failure, as in errno
    };

    // Reads what there is, at most as much as there is room for, once there is something. Waits for
    // it for so many milliseconds, or without limit (-1), and never once `stop` is set.
    Result Read(std::span<unsigned char> room, StopEvent const& stop, int timeoutMs);

    // Goes back to the beginning; only a source that is not live can. Throws std::system_error.
    void Rewind();

private:
    Source(FileDescriptor descriptor, bool isLive)
        : descriptor_(std::move(descriptor))
        , isLive_(isLive) {}

    FileDescriptor descriptor_;
    bool isLive_;
};

} // namespace workstation::service::recording
