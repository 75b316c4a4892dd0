// The pool as the target of a recording.
#include "service/ring/PoolTarget.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <string>

#include "service/ring/StreamLog.h"

namespace workstation::service::ring {

PoolTarget::PoolTarget(int stream, FileAllocator& files, store::EventStore& store,
                       StartStopQueue& startsAndStops, recording::RecordingClock& clock,
                       recording::StopEvent const& stop)
    : stream_(stream)
    , store_(store)
    , startsAndStops_(startsAndStops)
    , clock_(clock)
    , retry_(stream, stop)
    , writer_(stream, files, clock, stop) {}

void PoolTarget::Begin() {
    std::int64_t const now = WallSeconds();
    std::string const reid = retry_.Insist("begin to record", [&] {
        return store_.BeginRecording(static_cast<unsigned int>(stream_), now);
    });
    recording_ = {reid, now, now, 1U << (stream_ - 1), false, ""};
    LogForStream(stream_, "recording " + reid + " started");
    startsAndStops_.Post(RecordStarted{reid});
}

void PoolTarget::Write(recording::TickedPackets const& packets) {
    cutter_.Write(packets);
}

// The stop is posted whatever fails: subscribers know of the start.
void PoolTarget::End() {
    try {
        cutter_.Finish();
    } catch (std::exception const&) {
        writer_.AbandonFile();
    }
    recording_.stopTime = std::max(recording_.startTime, WallSeconds());
    LogForStream(stream_, "recording " + recording_.reid + " stopped");
    startsAndStops_.Post(RecordStopped{recording_});
}

std::int64_t PoolTarget::WallSeconds() const {
    return std::chrono::system_clock::to_time_t(clock_.WallNow());
}

} // namespace workstation::service::ring
