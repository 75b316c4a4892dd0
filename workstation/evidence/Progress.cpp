// Shows on standard error how far long work has come.
#include "evidence/Progress.h"

#include <unistd.h>

#include <iomanip>
#include <iostream>
#include <sstream>

namespace workstation::evidence {
namespace {

constexpr std::chrono::milliseconds interval(500);
constexpr char const* clearLine = "\r\x1B[K";

} // namespace

std::string DescribeProgress(std::uint64_t done, std::uint64_t total, double elapsed) {
    std::ostringstream text;
    text << (total == 0 ? 100 : done * 100 / total) << " %";
    double const rate = elapsed > 0 ? static_cast<double>(done) / elapsed : 0;
    if (rate > 0) {
        auto const left = static_cast<std::uint64_t>(static_cast<double>(total - done) / rate);
        text << ", " << static_cast<std::uint64_t>(rate / 1e6) << " MB/s, " << left / 60 << ":"
             << std::setfill('0') << std::setw(2) << left % 60 << " left";
    }
    return text.str();
}

Progress::Progress(std::uint64_t total, When when)
    : total_(total)
    , isShown_(when == When::always || (when == When::onTerminal && isatty(STDERR_FILENO) == 1)) {}

Progress::~Progress() {
    if (hasLine_) {
        std::cerr << clearLine << std::flush;
    }
}

void Progress::Add(std::uint64_t bytes) {
    if (!isShown_) {
        return;
    }
    std::lock_guard const lock(mutex_);
    done_ += bytes;
    auto const now = Clock::now();
    if (now < next_) {
        return;
    }
    next_ = now + interval;
    hasLine_ = true;
    std::cerr << clearLine
              << DescribeProgress(done_, total_,
                                  std::chrono::duration<double>(now - start_).count())
              << std::flush;
}

} // namespace workstation::evidence
