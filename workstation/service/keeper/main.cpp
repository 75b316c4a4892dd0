// StreamMgrExec: runs the command of a source for StreamMgr, and ends all that it started.
//
// Its standard input is a pipe that StreamMgr holds open for as long as the command is to run. When
// the pipe closes, also because StreamMgr was killed, or when the command has ended, every process
// that the command started is ended, including those that left its process group. The exit status
// is that of the command, 128 and the number of the signal if one ended it.
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "Deadline.h"
#include "Failure.h"
#include "FileDescriptor.h"

namespace {

using workstation::Deadline;
using workstation::FileDescriptor;
using workstation::SystemFailure;

// How long the processes have to end after SIGTERM.
constexpr int graceMs = 500;

// Blocks all signals: they are meant for the command. A descriptor that is readable when a child
// has ended.
FileDescriptor WatchChildren() {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, nullptr);
    sigset_t childEnded;
    sigemptyset(&childEnded);
    sigaddset(&childEnded, SIGCHLD);
    FileDescriptor watch(signalfd(-1, &childEnded, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!watch) {
        throw SystemFailure("signalfd");
    }
    return watch;
}

// In the child: becomes the shell that runs the command. It ends with this program in any case.
[[noreturn]] void RunShell(char const* command, FileDescriptor const& null) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t nothing;
    sigemptyset(&nothing);
    sigprocmask(SIG_SETMASK, &nothing, nullptr);
    dup2(null.Get(), STDIN_FILENO);
    execl("/bin/sh", "sh", "-c", command, nullptr);
    _exit(127);
}

pid_t Start(char const* command) {
    FileDescriptor const null(open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!null) {
        throw SystemFailure("/dev/null");
    }
    pid_t const child = fork();
    if (child == -1) {
        throw SystemFailure("fork");
    }
    if (child == 0) {
        RunShell(command, null);
    }
    // The ends of the command's output are to be seen by StreamMgr.
    dup2(null.Get(), STDOUT_FILENO);
    dup2(null.Get(), STDERR_FILENO);
    return child;
}

class Command {
public:
    explicit Command(pid_t pid)
        : pid_(pid) {}

    // Takes the children that have ended; waits for one first if `waits`. False when no child is
    // left.
    bool Reap(bool waits) {
        int status = 0;
        pid_t child = waitpid(-1, &status, waits ? 0 : WNOHANG);
        for (; child > 0; child = waitpid(-1, &status, WNOHANG)) {
            if (child == pid_) {
                status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
        }
        return child == 0;
    }

    std::optional<int> Status() const { return status_; }

private:
    pid_t pid_;
    std::optional<int> status_; // null while it runs
};

// Waits until a child has ended, standard input has ended, or the time has passed. True when
// standard input has ended.
bool Wait(FileDescriptor const& children, int input, int timeoutMs) {
    std::array<pollfd, 2> watched{{{input, POLLIN, 0}, {children.Get(), POLLIN, 0}}};
    poll(watched.data(), watched.size(), timeoutMs);
    signalfd_siginfo ignored{};
    while (read(children.Get(), &ignored, sizeof(ignored)) > 0) {
    }
    return watched[0].revents != 0;
}

// The parent of a process; 0 when the process is gone.
pid_t ParentOf(std::filesystem::path const& process) {
    std::ifstream file(process / "stat");
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    // "PID (NAME) S PARENT ...": the name may contain anything.
    std::size_t const parent = text.rfind(')') + sizeof(") S");
    pid_t pid = 0;
    if (parent < text.size()) {
        std::from_chars(text.data() + parent, text.data() + text.size(), pid);
    }
    return pid;
}

void KillChildren() {
    for (auto const& entry : std::filesystem::directory_iterator("/proc")) {
        std::string const name = entry.path().filename();
        pid_t pid = 0;
        std::from_chars(name.data(), name.data() + name.size(), pid);
        if (pid > 0 && ParentOf(entry.path()) == getpid()) {
            kill(pid, SIGKILL);
        }
    }
}

// Ends everything that the command started. What a killed process started becomes a child of this
// one, and is killed in the next round.
void EndAll(Command& command, FileDescriptor const& children) {
    kill(0, SIGTERM); // blocked here
    Deadline const grace(graceMs);
    bool areLeft = command.Reap(false);
    while (areLeft && !grace.Passed()) {
        Wait(children, -1, grace.RemainingMs());
        areLeft = command.Reap(false);
    }
    while (areLeft) {
        KillChildren();
        areLeft = command.Reap(true);
    }
}

int Run(char const* commandLine) {
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
        throw SystemFailure("prctl");
    }
    FileDescriptor const children = WatchChildren();
    Command command(Start(commandLine));
    bool isWanted = true;
    while (isWanted && !command.Status()) {
        isWanted = !Wait(children, STDIN_FILENO, -1);
        command.Reap(false);
    }
    EndAll(command, children);
    return command.Status().value_or(EXIT_FAILURE);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: StreamMgrExec COMMAND" << std::endl;
        return 2;
    }
    try {
        return Run(argv[1]);
    } catch (std::exception const& failure) {
        std::cerr << "StreamMgrExec: " << failure.what() << std::endl;
        return EXIT_FAILURE;
    }
}
