// Makes memory present before its first use, on another processor.
#include "memory/Prefault.h"

#include <sched.h>
#include <sys/mman.h>

#include <algorithm>
#include <csignal>
#include <exception>

namespace workstation::memory {
namespace {

// How much is made present in one system call. The destructor waits for one call: about 1 ms.
constexpr std::size_t pieceSize = 0x200000;

bool HaveAnotherProcessor() {
    cpu_set_t processors;
    return sched_getaffinity(0, sizeof processors, &processors) == 0 && CPU_COUNT(&processors) > 1;
}

void MakePresent(std::stop_token const& stop, unsigned char* memory, std::size_t size) {
    while (size > 0 && !stop.stop_requested()) {
        std::size_t const piece = std::min(pieceSize, size);
        size -= piece;
        if (madvise(memory + size, piece, MADV_POPULATE_WRITE) != 0) {
            return;
        }
    }
}

// Blocks all signals while it exists, also for good in the threads that are started meanwhile.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &former_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }

    SignalsBlocked(SignalsBlocked const&) = delete;
    SignalsBlocked& operator=(SignalsBlocked const&) = delete;

private:
    sigset_t former_{};
};

} // namespace

Prefault::Prefault(unsigned char* memory, std::size_t size) {
    if (!HaveAnotherProcessor()) {
        return;
    }
    SignalsBlocked const blocked;
    try {
        thread_ = std::jthread(MakePresent, memory, size);
    } catch (std::exception const&) {
        // Without a thread only time is lost.
    }
}

} // namespace workstation::memory
