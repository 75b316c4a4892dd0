// The time as a recording sees it.
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

    // Waits until that time; no longer than until the event is set.
    virtual void WaitUntil(Time time, StopEvent const& stop) = 0;
};

// The clocks of the machine.
class SystemRecordingClock : public RecordingClock {
public:
    Time Now() const override { return std::chrono::steady_clock::now(); }
    WallTime WallNow() const override { return std::chrono::system_clock::now(); }

    void WaitUntil(Time time, StopEvent const& stop) override {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(time - Now());
        if (left.count() > 0) {
            stop.WaitFor(left);
        }
    }
};

} // namespace workstation::service::recording
