// Makes memory present before its first use, on another processor.
#pragma once

#include <cstddef>
#include <thread>

namespace workstation::memory {

// Works from the end of the memory towards its start, in a thread of its own: a program that fills
// the memory from the start meets it half way, and neither waits for the other. With one processor
// only, or without support by the system, the memory becomes present at its first use.
class Prefault {
public:
    // `memory` begins at the start of a page and is writable.
    Prefault(unsigned char* memory, std::size_t size);

    // Stops the thread. Only in the process that started it.
    ~Prefault() = default;

    Prefault(Prefault const&) = delete;
    Prefault& operator=(Prefault const&) = delete;

private:
    std::jthread thread_;
};

} // namespace workstation::memory
