// A process that a test starts, talks to, and ends.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <utility>

#include "support/Event.h"

// A forked process that runs a function and exits with its result. Killed when the object is
// destroyed, if it has not ended.
class ChildProcess {
public:
    // The parent, as the child sees it.
    class Parent {
    public:
        explicit Parent(ChildProcess const& process)
            : process_(process) {}

        void Tell() const { process_.fromChild_.Signal(); }
        // Ends the child when its parent has ended.
        void Await() const {
            if (!process_.toChild_.Wait()) {
                _exit(91);
            }
        }
        // What Tell writes to.
        int Out() const { return process_.fromChild_.SignalDescriptor(); }

    private:
        ChildProcess const& process_;
    };

    explicit ChildProcess(std::function<int(Parent const&)> const& body)
        : pid_(fork()) {
        if (pid_ == 0) {
            alarm(2 * patienceMs / 1000); // never outlives a test that died
            toChild_.OnlyWait();
            fromChild_.OnlySignal();
            _exit(Run(body));
        }
        toChild_.OnlySignal();
        fromChild_.OnlyWait();
    }
    explicit ChildProcess(std::function<int()> const& body)
        : ChildProcess([&](Parent const&) { return body(); }) {}
    ~ChildProcess() {
        if (pid_ > 0) {
            Kill();
        }
    }

    ChildProcess(ChildProcess const&) = delete;
    ChildProcess& operator=(ChildProcess const&) = delete;

    pid_t Pid() const { return pid_; }
    void Signal(int number) const { kill(pid_, number); }

    void Tell() const { toChild_.Signal(); }
    // False when the child ends, or waits too long, without a signal.
    bool Await() const { return fromChild_.Wait(); }

    // Waits for the process to end by itself. Its exit status; -1 when a signal ended it.
    int Wait() {
        int status = 0;
        waitpid(std::exchange(pid_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // Returns when the process has stopped.
    void Stop() const {
        Signal(SIGSTOP);
        int status = 0;
        waitpid(pid_, &status, WUNTRACED);
    }
    void Continue() const { Signal(SIGCONT); }

    void Kill() {
        Signal(SIGKILL);
        Wait();
    }

private:
    // An exception ends the child, so that it never runs the rest of its parent's tests.
    int Run(std::function<int(Parent const&)> const& body) const noexcept {
        return body(Parent(*this));
    }

    Event toChild_;
    Event fromChild_;
    pid_t pid_;
};

// The id of a process that has ended.
inline pid_t IdOfDeadProcess() {
    ChildProcess child([] { return 0; });
    pid_t const pid = child.Pid();
    child.Wait();
    return pid;
}
