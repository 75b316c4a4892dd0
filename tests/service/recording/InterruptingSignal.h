// A signal that interrupts system calls.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>

#include "support/Event.h"

namespace recording_test {

// While it lives, SIGUSR1 is handled without SA_RESTART: the system call that it interrupts fails
// with EINTR.
class InterruptingSignal {
public:
    InterruptingSignal() {
        handled = &handled_;
        struct sigaction action {};
        action.sa_handler = [](int) { handled->Signal(); };
        sigaction(SIGUSR1, &action, &former_);
    }
    ~InterruptingSignal() { sigaction(SIGUSR1, &former_, nullptr); }

    InterruptingSignal(InterruptingSignal const&) = delete;
    InterruptingSignal& operator=(InterruptingSignal const&) = delete;

    // Interrupts a thread many times, so that some hit it where it waits.
    void Interrupt(pthread_t thread) const {
        for (int times = 0; times < 100; ++times) {
            pthread_kill(thread, SIGUSR1);
            ASSERT_TRUE(handled_.Wait());
        }
    }

private:
    inline static Event const* handled = nullptr;

    Event handled_;
    struct sigaction former_ {};
};

} // namespace recording_test
