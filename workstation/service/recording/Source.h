// Where a recording gets its bytes from: a file, a device, a pipe, standard input.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <utility>

#include "FileDescriptor.h"
#include "service/recording/StopEvent.h"

namespace workstation::service::recording {

// The text of a Failure that opening or reading throws is that of the errno alone.
class Source {
public:
    // "-" is standard input, anything else a path. Never waits for the other end of a pipe. `stop`
    // ends every wait and outlives the source. Throws a Failure when the source cannot be opened.
    static Source Open(std::string const& name, StopEvent const& stop);

    // Whether the bytes are taken as they come: true for everything but a regular file.
    bool IsLive() const { return isLive_; }

    enum class Outcome { bytes, timeout, end, stopped };
    struct Result {
        Outcome outcome;
        std::size_t size = 0; // of the bytes, at least 1
    };

    // Waits until the source has bytes, for at most `timeoutMs` milliseconds (-1: without limit),
    // and reads what is there, at most as much as there is room for. Reads nothing once the
    // recording is to stop. Throws a Failure when reading fails.
    Result Read(std::span<unsigned char> room, int timeoutMs);

    // Goes back to the beginning. Throws a Failure; a live source cannot go back.
    void Rewind();

private:
    Source(FileDescriptor descriptor, bool isLive, StopEvent const& stop)
        : descriptor_(std::move(descriptor))
        , isLive_(isLive)
        , stop_(stop) {}

    FileDescriptor descriptor_;
    bool isLive_;
    StopEvent const& stop_;
};

} // namespace workstation::service::recording
