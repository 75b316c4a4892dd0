// The end of a time limit.
#pragma once

#include <algorithm>
#include <chrono>

namespace workstation {

class Deadline {
public:
    // `timeoutMs` from now; a negative one means no limit.
    explicit Deadline(int timeoutMs)
        : endless_(timeoutMs < 0)
        , end_(Clock::now() + std::chrono::milliseconds(endless_ ? 0 : timeoutMs)) {}

    bool Passed() const { return !endless_ && Clock::now() >= end_; }

    // The milliseconds that remain, rounded up so that a sleep for them does not end early; -1
    // without limit, as in poll(2).
    int RemainingMs() const {
        if (endless_) {
            return -1;
        }
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
        return static_cast<int>(std::max<decltype(left)>(left, 0));
    }

private:
    using Clock = std::chrono::steady_clock;

    bool endless_;
    Clock::time_point end_;
};

// The smaller of two values of RemainingMs.
inline int SoonerMs(int left, int right) {
    if (left < 0 || right < 0) {
        return std::max(left, right);
    }
    return std::min(left, right);
}

} // namespace workstation
