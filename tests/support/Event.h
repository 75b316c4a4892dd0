// An event that one process or thread waits for and another one signals.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "FileDescriptor.h"

// How long a test waits for what must happen.
constexpr int patienceMs = 60000;

class Event {
public:
    Event() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("pipe2 failed");
        }
        out_.Reset(ends[0]);
        in_.Reset(ends[1]);
    }

    void Signal() const {
        if (write(in_.Get(), "!", 1) != 1) {
            throw std::runtime_error("event cannot be signalled");
        }
    }

    // False when it does not happen in time, and at once when no process is left that could signal.
    bool Wait() const {
        pollfd readable{out_.Get(), POLLIN, 0};
        char byte = 0;
        return poll(&readable, 1, patienceMs) == 1 && read(out_.Get(), &byte, 1) == 1;
    }

    // Closes the other end, in a process that only waits or only signals.
    void OnlyWait() { in_.Reset(); }
    void OnlySignal() { out_.Reset(); }

    // What Signal writes to.
    int SignalDescriptor() const { return in_.Get(); }

private:
    workstation::FileDescriptor out_;
    workstation::FileDescriptor in_;
};
