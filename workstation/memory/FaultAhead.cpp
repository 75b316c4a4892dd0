// Makes memory present ahead of its first use, on another processor.
#include "memory/FaultAhead.h"

#include <sched.h>
#include <sys/mman.h>

#include <algorithm>
#include <csignal>
#include <exception>

namespace workstation::memory {
namespace {

// How much is made present in one go, and so about a millisecond's work to wait for at the end.
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

// While it stands, signals wait, and threads that are started never handle any.
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

FaultAhead::FaultAhead(unsigned char* memory, std::size_t size) {
    if (!HaveAnotherProcessor()) {
        return;
    }
    SignalsBlocked const blocked;
    try {
        thread_ = std::jthread(MakePresent, memory, size);
    } catch (std::exception const&) {
        // No thread to be had: nothing is lost but time.
    }
}

} // namespace workstation::memory
