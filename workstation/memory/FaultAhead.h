// Makes memory present ahead of its first use, on another processor.
#pragma once

#include <cstddef>
#include <thread>

namespace workstation::memory {

// Works from the end of the memory towards its start, so that whoever fills it from the start
// meets it on the way and neither waits for the other. Where there is only one processor, or the
// system cannot do it, the memory becomes present at its first use as ever.
class FaultAhead {
public:
    // `memory` begins at a page and is writable.
    FaultAhead(unsigned char* memory, std::size_t size);

    // Ends the work if it is still going on. Only in the process that began it.
    ~FaultAhead() = default;

    FaultAhead(FaultAhead const&) = delete;
    FaultAhead& operator=(FaultAhead const&) = delete;

private:
    std::jthread thread_;
};

} // namespace workstation::memory
