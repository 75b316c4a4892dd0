// Shows whether a thread makes progress.
#pragma once

#include <atomic>
#include <chrono>

namespace workstation::service::supervision {

// A thread says by when it will say so again. Set by that thread, read by any other.
class Heartbeat {
public:
    using Clock = std::chrono::steady_clock;
    using Time = Clock::time_point;

    // The thread works: its next sign comes as soon as what it does now is done.
    void Works() { Expect(Clock::now()); }

    // The thread waits until `time` at the latest. Time::max(): without limit.
    void WaitsUntil(Time time) { Expect(time); }

    // The thread does not run, or not any more.
    void Rests() { Expect(Time::max()); }

    // Whether the thread is later with its next sign than `limit`: what it does does not come to an
    // end.
    bool IsStuck(Time now, Clock::duration limit) const {
        return Time(Clock::duration(expected_.load(std::memory_order_relaxed))) < now - limit;
    }

private:
    void Expect(Time time) {
        expected_.store(time.time_since_epoch().count(), std::memory_order_relaxed);
    }

    std::atomic<Clock::rep> expected_{Time::max().time_since_epoch().count()};
};

} // namespace workstation::service::supervision
