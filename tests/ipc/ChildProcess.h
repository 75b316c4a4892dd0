// Processes that a test starts, and the signals between them.
#pragma once

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <functional>
#include <stdexcept>
#include <utility>

#include "FileDescriptor.h"

// How long a test waits for what must happen.
constexpr int patienceMs = 30000;

// Something that one process or thread waits for and another one makes happen.
class Event {
public:
    Event() {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            throw std::runtime_error("pipe failed");
        }
        out_.Reset(ends[0]);
        in_.Reset(ends[1]);
    }

    void Signal() const {
        if (write(in_.Get(), "!", 1) != 1) {
            throw std::runtime_error("event cannot be signalled");
        }
    }

    // False when it does not happen.
    bool Wait() const {
        pollfd readable{out_.Get(), POLLIN, 0};
        char byte = 0;
        return poll(&readable, 1, patienceMs) == 1 && read(out_.Get(), &byte, 1) == 1;
    }

private:
    workstation::FileDescriptor out_;
    workstation::FileDescriptor in_;
};

// A forked process that runs `body` and ends with its result. Killed at the latest when the object
// goes.
class ChildProcess {
public:
    explicit ChildProcess(std::function<int()> const& body)
        : process_(fork()) {
        if (process_ == 0) {
            alarm(patienceMs / 1000); // never outlives a test that died
            _exit(body());
        }
    }
    ~ChildProcess() {
        if (process_ > 0) {
            Kill();
        }
    }

    ChildProcess(ChildProcess const&) = delete;
    ChildProcess& operator=(ChildProcess const&) = delete;

    // Waits for the process to end by itself. Its exit status; -1 when a signal ended it.
    int Wait() {
        int status = 0;
        waitpid(std::exchange(process_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // Returns when the process has stopped.
    void Stop() const {
        kill(process_, SIGSTOP);
        int status = 0;
        waitpid(process_, &status, WUNTRACED);
    }
    void Continue() const { kill(process_, SIGCONT); }

    void Kill() {
        kill(process_, SIGKILL);
        Wait();
    }

private:
    pid_t process_;
};
