// A process that a test starts, talks to, and ends.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "FileDescriptor.h"

namespace workstation {

// Runs a function in a forked process; what it returns is the exit status. Killed at the end if it
// was not waited for.
class ChildProcess {
public:
    // The child's side of two pipes.
    class Parent {
    public:
        Parent(int in, int out)
            : in_(in)
            , out_(out) {}
        void Tell() const {
            if (write(out_, "!", 1) != 1) {
                _exit(90);
            }
        }
        void Await() const {
            char byte = 0;
            if (read(in_, &byte, 1) != 1) {
                _exit(91);
            }
        }
        // What Tell writes to.
        int Out() const { return out_; }

    private:
        int in_;
        int out_;
    };

    explicit ChildProcess(std::function<int(Parent const&)> const& body) {
        int toChild[2];
        int fromChild[2];
        if (pipe2(toChild, O_CLOEXEC) != 0 || pipe2(fromChild, O_CLOEXEC) != 0) {
            throw std::runtime_error("pipe2 failed");
        }
        pid_ = fork();
        if (pid_ == 0) {
            close(toChild[1]);
            close(fromChild[0]);
            _exit(body(Parent(toChild[0], fromChild[1])));
        }
        close(toChild[0]);
        close(fromChild[1]);
        toChild_ = FileDescriptor(toChild[1]);
        fromChild_ = FileDescriptor(fromChild[0]);
    }
    ~ChildProcess() {
        if (pid_ > 0) {
            Signal(SIGKILL);
            Wait();
        }
    }
    ChildProcess(ChildProcess const&) = delete;
    ChildProcess& operator=(ChildProcess const&) = delete;

    pid_t Pid() const { return pid_; }
    void Signal(int number) const { kill(pid_, number); }
    void Tell() const {
        if (write(toChild_.Get(), "!", 1) != 1) {
            throw std::runtime_error("the child does not listen");
        }
    }

    // False when the child ends without a word, or after 60 seconds.
    bool Await() const {
        pollfd ready = {fromChild_.Get(), POLLIN, 0};
        char byte = 0;
        return poll(&ready, 1, 60000) == 1 && read(fromChild_.Get(), &byte, 1) == 1;
    }

    // The status as waitpid gives it.
    int Wait() {
        int status = -1;
        waitpid(pid_, &status, 0);
        pid_ = 0;
        return status;
    }

    // Exit status; -1 for a process that a signal ended.
    int ExitStatus() {
        int const status = Wait();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = -1;
    FileDescriptor toChild_;
    FileDescriptor fromChild_;
};

// Goes on as another program: the path and its arguments. A program for another processor is run
// through TEST_EMULATOR, a command line or nothing. Returns only on failure, with an exit status.
inline int Execute(std::vector<std::string> const& program) {
    std::vector<std::string> words;
    std::istringstream emulator(TEST_EMULATOR);
    std::copy(std::istream_iterator<std::string>(emulator), {}, std::back_inserter(words));
    words.insert(words.end(), program.begin(), program.end());
    std::vector<char*> arguments;
    for (auto& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    return 99;
}

// The id of a process that is no more.
inline pid_t IdOfDeadProcess() {
    ChildProcess child([](auto const&) { return 0; });
    pid_t const pid = child.Pid();
    child.Wait();
    return pid;
}

} // namespace workstation
