// The thread that records one stream.
#pragma once

#include <thread>

#include "service/recording/Recording.h"

namespace workstation::service::recording {

// What is passed by reference outlives the object. The target, the ticks, the clock and `report`
// are called in the recording's thread.
class RecordingThread {
public:
    RecordingThread(RecordingSettings settings, RecordingTarget& target, TickSource& ticks,
                    RecordingClock& clock, Report report, StopEvent& stop, RecordingStatus& status);
    ~RecordingThread() { Stop(); }

    RecordingThread(RecordingThread const&) = delete;
    RecordingThread& operator=(RecordingThread const&) = delete;

    // Begins to record. To be called once.
    void Start();

    // Sets the stop event and waits for the end of the recording, which keeps what it has taken so
    // far. May be repeated.
    void Stop();

private:
    StopEvent& stop_;
    Recording recording_;
    std::thread thread_;
};

} // namespace workstation::service::recording
