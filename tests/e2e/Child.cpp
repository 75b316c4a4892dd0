// A program that a test runs as a person runs it: with input, output, signals and an end.
#include "Child.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <stdexcept>

namespace e2e {
namespace {

using std::chrono::steady_clock;
using workstation::FileDescriptor;

// No program prints as much, unless it prints the same text for ever.
constexpr std::size_t mostOutput = 16U << 20U;

[[noreturn]] void Throw(std::string const& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

FileDescriptor Checked(int descriptor, char const* what) {
    if (descriptor < 0) {
        Throw(what);
    }
    return FileDescriptor(descriptor);
}

// The two ends of a program's standard stream: its own and the test's.
struct Stream {
    FileDescriptor childs;
    FileDescriptor ours;
};

Stream MakeStream(bool isInput) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        Throw("pipe2");
    }
    FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    if (isInput) {
        return {std::move(readEnd), std::move(writeEnd)};
    }
    return {std::move(writeEnd), std::move(readEnd)};
}

// A terminal that shows text as it is written and does not echo.
Stream MakeTerminal() {
    auto ours = Checked(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "posix_openpt");
    if (grantpt(ours.Get()) != 0 || unlockpt(ours.Get()) != 0) {
        Throw("unlockpt");
    }
    auto childs = Checked(open(ptsname(ours.Get()), O_RDWR | O_NOCTTY | O_CLOEXEC), "terminal");
    termios settings{};
    tcgetattr(childs.Get(), &settings);
    settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
    settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(childs.Get(), TCSANOW, &settings);
    return {std::move(childs), std::move(ours)};
}

std::vector<char*> Pointers(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> EnvironmentWith(std::map<std::string, std::string> variables) {
    for (char** entry = environ; *entry != nullptr; ++entry) {
        std::string const text = *entry;
        auto const equals = text.find('=');
        variables.emplace(text.substr(0, equals), text.substr(equals + 1)); // keeps what is there
    }
    std::vector<std::string> entries;
    entries.reserve(variables.size());
    for (auto const& [name, value] : variables) {
        entries.emplace_back(name).append(1, '=').append(value);
    }
    return entries;
}

// Signals that were ignored or blocked when the tests were started would be so in the program too.
void RestoreSignals() {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (int const number : {SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGHUP}) {
        std::signal(number, SIG_DFL);
    }
}

void SetLimits(std::map<int, rlim_t> const& limits) {
    for (auto const& [resource, most] : limits) {
        rlimit const limit{most, most};
        setrlimit(static_cast<decltype(RLIMIT_AS)>(resource), &limit);
        if (resource == RLIMIT_FSIZE) {
            std::signal(SIGXFSZ, SIG_IGN);
        }
    }
}

// The child's side of fork: nothing here may allocate. Never returns.
[[noreturn]] void Become(char* const* words, char* const* environment, std::array<int, 3> streams,
                         Command const& command) {
    RestoreSignals();
    prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that is killed leaves nothing running
    if (command.onTerminal) {
        setsid();
        ioctl(streams[0], TIOCSCTTY, 0);
    } else {
        setpgid(0, 0);
    }
    for (int target = 0; target < 3; ++target) {
        dup2(streams[static_cast<std::size_t>(target)], target);
    }
    SetLimits(command.limits);
    execvpe(words[0], words, environment);
    dprintf(2, "%s: %s\n", words[0], std::strerror(errno));
    _exit(127);
}

int PollTimeoutMs(steady_clock::time_point deadline) {
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

// Adds what there is to `text`; closes the descriptor at the end of the stream.
void ReadInto(std::string& text, FileDescriptor& from) {
    std::array<char, 65536> buffer{};
    ssize_t const count = read(from.Get(), buffer.data(), buffer.size());
    if (count > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) { // EIO: no process uses the terminal any more
        from.Reset();
    }
}

} // namespace

std::ostream& operator<<(std::ostream& stream, Outcome const& outcome) {
    return stream << "status " << outcome.status << "\n--- out\n"
                  << outcome.out << "--- err\n"
                  << outcome.err << "---\n";
}

Child::Child(Command const& command)
    : unfed_(command.input) {
    std::signal(SIGPIPE, SIG_IGN); // a program need not read what it is fed
    auto words = command.words;
    auto environment = EnvironmentWith(command.environment);
    auto const wordPointers = Pointers(words);
    auto const environmentPointers = Pointers(environment);

    Stream in;
    Stream out;
    Stream err;
    if (command.onTerminal) {
        in = MakeTerminal();
        out.childs = Checked(fcntl(in.childs.Get(), F_DUPFD_CLOEXEC, 3), "dup");
        out.ours = Checked(fcntl(in.ours.Get(), F_DUPFD_CLOEXEC, 3), "dup");
        err.childs = Checked(fcntl(in.childs.Get(), F_DUPFD_CLOEXEC, 3), "dup");
    } else {
        in = MakeStream(true);
        out = MakeStream(false);
        err = MakeStream(false);
    }
    if (!command.outputPath.empty()) {
        out.childs = Checked(open(command.outputPath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600),
                             command.outputPath.c_str());
    }

    pid_ = fork();
    if (pid_ < 0) {
        Throw("fork");
    }
    if (pid_ == 0) {
        Become(wordPointers.data(), environmentPointers.data(),
               {in.childs.Get(), out.childs.Get(), err.childs.Get()}, command);
    }
    if (!command.onTerminal) {
        setpgid(pid_, pid_); // parent and child both do so: a signal to the group always finds it
    }
    exit_ = Checked(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)), "pidfd_open");
    in_ = std::move(in.ours);
    out_ = std::move(out.ours);
    err_ = std::move(err.ours);
    fcntl(in_.Get(), F_SETFL, O_NONBLOCK);
}

Child::~Child() {
    if (!ended_) {
        Reap();
    }
}

void Child::Signal(int number) const {
    kill(pid_, number);
}

void Child::Type(std::string const& text) {
    auto const deadline = steady_clock::now() + patience;
    unfed_ += text;
    while (in_ && !unfed_.empty() && Exchange(deadline)) {
    }
}

void Child::EndInput() {
    Type("");
    inputEnds_ = true;
    Feed();
}

bool Child::Says(std::string const& text) {
    auto const deadline = steady_clock::now() + patience;
    while (outcome_.out.find(text) == std::string::npos) {
        if (!out_ || !Exchange(deadline)) {
            return false;
        }
    }
    return true;
}

Outcome Child::Finish() {
    auto const deadline = steady_clock::now() + patience;
    inputEnds_ = true;
    Feed();
    while (HasOutput() && outcome_.out.size() < mostOutput && Exchange(deadline)) {
    }
    if (HasOutput() || !HasEnded(deadline)) {
        ADD_FAILURE() << "the program does not end; it is killed. " << outcome_;
    }
    Reap();
    return outcome_;
}

// Moves what can be moved of the three streams, waiting for something to move. False when the
// deadline passed first.
bool Child::Exchange(Deadline deadline) {
    short const writable = unfed_.empty() ? 0 : POLLOUT;
    std::array<pollfd, 3> streams{pollfd{in_.Get(), writable, 0}, pollfd{out_.Get(), POLLIN, 0},
                                  pollfd{err_.Get(), POLLIN, 0}};
    if (poll(streams.data(), streams.size(), PollTimeoutMs(deadline)) == 0) {
        return false;
    }
    if ((streams[0].revents & (POLLERR | POLLHUP)) != 0) { // no process reads any more
        in_.Reset();
    } else if (streams[0].revents != 0) {
        Feed();
    }
    if (streams[1].revents != 0) {
        ReadInto(outcome_.out, out_);
    }
    if (streams[2].revents != 0) {
        ReadInto(outcome_.err, err_);
    }
    return true;
}

// Writes what fits. The input ends after its last byte, once nothing more can be typed.
void Child::Feed() {
    if (in_ && !unfed_.empty()) {
        ssize_t const count = write(in_.Get(), unfed_.data(), unfed_.size());
        unfed_.erase(0, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    if (inputEnds_ && unfed_.empty()) {
        in_.Reset();
    }
}

bool Child::HasEnded(Deadline deadline) const {
    pollfd exited{exit_.Get(), POLLIN, 0};
    return poll(&exited, 1, PollTimeoutMs(deadline)) == 1;
}

// Kills what is left of the group. Before waitpid: until then its number is not used again.
void Child::Reap() {
    kill(-pid_, SIGKILL);
    int status = 0;
    rusage usage{};
    wait4(pid_, &status, 0, &usage);
    ended_ = true;
    peakMemoryKiB_ = usage.ru_maxrss;
    outcome_.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

Outcome RunToEnd(Command const& command) {
    return Child(command).Finish();
}

} // namespace e2e
