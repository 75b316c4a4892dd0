// Runs a command and says what it took.
#include "MeasuredCommand.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

namespace benchmarks {
namespace {

double Milliseconds(timeval const& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

[[noreturn]] void Become(char* const* words) {
    int const nowhere = open("/dev/null", O_RDWR);
    for (int stream = 0; stream < 3; ++stream) {
        dup2(nowhere, stream);
    }
    execvp(words[0], words);
    _exit(127);
}

} // namespace

std::optional<Measurement> Measure(Words const& command) {
    std::vector<char*> words;
    for (std::string const& word : command) {
        words.push_back(const_cast<char*>(word.c_str())); // execvp only reads
    }
    words.push_back(nullptr);

    using Clock = std::chrono::steady_clock;
    auto const start = Clock::now();
    pid_t const child = fork();
    if (child == 0) {
        Become(words.data());
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0) {
        return std::nullopt;
    }
    constexpr double kiBPerMiB = 1024;
    std::chrono::duration<double, std::milli> const wall = Clock::now() - start;
    return Measurement{wall.count(), Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime),
                       static_cast<double>(usage.ru_maxrss) / kiBPerMiB};
}

} // namespace benchmarks
