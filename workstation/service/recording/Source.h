// Where a recording gets its bytes from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace workstation::service::recording {

// One source of a recording, used by its thread alone.
class Source {
public:
    // What becomes of a recording when its source ends.
    enum class Kind {
        file,  // read at the pace of its PCR; ends the recording, or is read again
        input, // taken as it comes; ends the recording
        live,  // taken as it comes; begun again whenever it ends, fails or has no packets
    };

    virtual ~Source() = default;

    virtual Kind GetKind() const = 0;

    // Opens the source, or opens it again: a file at its beginning, a live source where it is now.
    // Never waits for another process. Throws a Failure whose text is the reason alone.
    virtual void Begin() = 0;

    enum class Outcome { bytes, timeout, end, stopped };
    struct Result {
        Outcome outcome;
        std::size_t size = 0; // of the bytes, at least 1
    };

    // Waits until the source has bytes, for at most `timeoutMs` milliseconds (-1: without limit),
    // and reads what is there, at most as much as there is room for. When it has to drop all that
    // came, that is a timeout. Reads nothing once the recording is to stop. To be called after
    // Begin. Throws a Failure as Begin does.
    virtual Result Read(std::span<unsigned char> room, int timeoutMs) = 0;

    // How many bytes of all that came were no packets and have not been delivered.
    virtual std::uint64_t DroppedBytes() const { return 0; }

    // What a live source printed last, a line each, since it was begun. Contains nothing secret.
    virtual std::vector<std::string> LastWords() const { return {}; }
};

} // namespace workstation::service::recording
