// The thread that records one stream.
#pragma once

#include <thread>

#include "service/recording/Recording.h"

namespace workstation::service::recording {

// The target, the ticks and the clock must outlive the recorder; they and `report` are called in
// its thread.
class StreamRecorder {
public:
    StreamRecorder(RecordingSettings settings, RecordingTarget& target, TickSource& ticks,
                   RecordingClock& clock, Recording::Report report);
    ~StreamRecorder() { Stop(); }

    StreamRecorder(StreamRecorder const&) = delete;
    StreamRecorder& operator=(StreamRecorder const&) = delete;

    // Begins to record; once.
    void Start();

    // Ends the recording, whatever it is waiting for, with what it has taken so far. It has ended
    // when this returns. Harmless to repeat.
    void Stop();

private:
    StopEvent stop_;
    Recording recording_;
    std::thread thread_;
};

} // namespace workstation::service::recording
