// Shows on standard error how far long work has come.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

namespace workstation::evidence {

// One line that is written anew twice a second at most: the share of the bytes, the rate and the
// remaining time. The line disappears at the end. May be called from several threads.
class Progress {
public:
    enum class When { always, never, onTerminal };

    // `total` is the number of bytes that will be reported.
    Progress(std::uint64_t total, When when);
    ~Progress();

    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void Add(std::uint64_t bytes);

private:
    using Clock = std::chrono::steady_clock;

    std::uint64_t total_;
    bool isShown_;
    Clock::time_point const start_ = Clock::now();
    std::mutex mutex_;
    Clock::time_point next_ = start_;
    std::uint64_t done_ = 0;
    bool hasLine_ = false;
};

// "42 %, 1234 MB/s, 0:07 left": `elapsed` seconds have passed for `done` of `total` bytes.
std::string DescribeProgress(std::uint64_t done, std::uint64_t total, double elapsed);

} // namespace workstation::evidence
