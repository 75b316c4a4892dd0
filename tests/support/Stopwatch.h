// Time that something took.
#pragma once

#include <chrono>

class Stopwatch {
public:
    long ElapsedMs() const {
        return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                     std::chrono::steady_clock::now() - start_)
                                     .count());
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};
