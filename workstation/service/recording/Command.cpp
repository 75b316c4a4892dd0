// The running command of a source.
#include "service/recording/Command.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <string_view>
#include <vector>

#include "Deadline.h"
#include "service/recording/SourceFailure.h"

namespace workstation::service::recording {
namespace {

// How long a command may go on after it has closed its output.
constexpr int lingerMs = 500;

// How long StreamMgrExec may take to end a command: longer than it gives the command.
constexpr int endingMs = 1500;

// Bytes. What a pipe holds while the recording waits.
constexpr int outputSize = 1 << 20;

struct Pipe {
    FileDescriptor reading;
    FileDescriptor writing;
};

Pipe MakePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw FailureOfErrno();
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

FileDescriptor NotBlocking(FileDescriptor descriptor) {
    if (fcntl(descriptor.Get(), F_SETFL, O_NONBLOCK) != 0) {
        throw FailureOfErrno();
    }
    return descriptor;
}

// The environment of a command. What the service manager has passed to the service is for the
// service only: a command that used it would speak for the service.
std::vector<char*> CommandsEnvironment() {
    std::vector<char*> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        std::string_view const text(*variable);
        bool const isForService = text.starts_with("NOTIFY_SOCKET=") ||
                                  text.starts_with("WATCHDOG_PID=") ||
                                  text.starts_with("WATCHDOG_USEC=");
        if (!isForService) {
            variables.push_back(*variable);
        }
    }
    variables.push_back(nullptr);
    return variables;
}

// Starts a program with these standard descriptors, in a session of its own, with no signal blocked
// or ignored. Its process.
pid_t Spawn(std::string const& program, std::string command, Pipe const& life, Pipe const& output,
            Pipe const& errors) {
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, life.reading.Get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, output.writing.Get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, errors.writing.Get(), STDERR_FILENO);

    sigset_t signals;
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    std::string name = "StreamMgrExec";
    std::array<char*, 3> arguments{name.data(), command.data(), nullptr};
    pid_t pid = -1;
    int const error = posix_spawn(&pid, program.c_str(), &files, &attributes, arguments.data(),
                                  CommandsEnvironment().data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) {
        throw Failure(error, "cannot start " + program + ": " + std::strerror(error));
    }
    return pid;
}

std::string KeeperPath() {
    std::error_code ignored; // the program is then not found
    return std::filesystem::read_symlink("/proc/self/exe", ignored)
        .replace_filename("StreamMgrExec");
}

} // namespace

Command::Command(std::string const& command) {
    Pipe life = MakePipe();
    Pipe output = MakePipe();
    Pipe errors = MakePipe();
    fcntl(output.reading.Get(), F_SETPIPE_SZ, outputSize); // a smaller pipe does as well
    output_ = NotBlocking(std::move(output.reading));
    errors_ = NotBlocking(std::move(errors.reading));
    pid_ = Spawn(KeeperPath(), command, life, output, errors);
    life_ = std::move(life.writing);
    ended_.Reset(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
}

Command::~Command() {
    if (pid_ != -1) {
        Reap();
    }
}

int Command::Finish() {
    AwaitEnd(lingerMs);
    return Reap();
}

// Without a descriptor of the process there is nothing to wait for.
void Command::AwaitEnd(int timeoutMs) const {
    Deadline const deadline(timeoutMs);
    pollfd ended{ended_.Get(), POLLIN, 0};
    while (poll(&ended, 1, deadline.RemainingMs()) == -1 && errno == EINTR) {
    }
}

int Command::Reap() {
    life_.Reset();
    AwaitEnd(endingMs);
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == 0) {
        kill(pid_, SIGKILL); // the command with it
        while (waitpid(pid_, &status, 0) == -1 && errno == EINTR) {
        }
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace workstation::service::recording
