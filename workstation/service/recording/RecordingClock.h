// The clocks of a recording: for waiting, and for the times of its ticks.
#pragma once

#include <chrono>

#include "service/recording/StopEvent.h"

namespace workstation::service::recording {

class RecordingClock {
public:
    using Time = std::chrono::steady_clock::time_point;
    using WallTime = std::chrono::system_clock::time_point;

    virtual ~RecordingClock() = default;

    // Never goes backwards.
    virtual Time Now() const = 0;

    // The time of day, which may be set at any moment.
    virtual WallTime WallNow() const = 0;

    // Waits until that time, or until the recording is to stop.
    virtual void WaitUntil(Time time) = 0;
};

// The clocks of the machine.
class SystemRecordingClock : public RecordingClock {
public:
    // `stop` ends every wait. It outlives the clock.
    explicit SystemRecordingClock(StopEvent const& stop)
        : stop_(stop) {}

    Time Now() const override { return std::chrono::steady_clock::now(); }
    WallTime WallNow() const override { return std::chrono::system_clock::now(); }

    void WaitUntil(Time time) override {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(time - Now());
        if (left.count() > 0) {
            stop_.WaitFor(left);
        }
    }

private:
    StopEvent const& stop_;
};

} // namespace workstation::service::recording
