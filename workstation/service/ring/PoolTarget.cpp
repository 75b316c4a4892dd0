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
                       recording::StopEvent const& stop, recording::RecordingStatus& status)
    : stream_(stream)
    , store_(store)
    , startsAndStops_(startsAndStops)
    , clock_(clock)
    , retry_(stream, stop, status)
    , writer_(stream, files, stop, status) {}

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
    recording_.stopTime = StopTime();
    EndRow();
    LogForStream(stream_, "recording " + recording_.reid + " stopped");
    startsAndStops_.Post(RecordStopped{recording_});
}

// Covers what was recorded: as fast as it can be read, its ticks are ahead of the time of day.
std::int64_t PoolTarget::StopTime() const {
    std::int64_t const lastTick = writer_.LastTick() ? writer_.LastTick()->time : 0;
    return std::max({recording_.startTime, WallSeconds(), lastTick});
}

void PoolTarget::EndRow() {
    try {
        retry_.Insist("end recording " + recording_.reid,
                      [&] { store_.EndRecording(recording_.reid, recording_.stopTime); });
    } catch (std::exception const&) { // logged; the next start ends it
    }
}

std::int64_t PoolTarget::WallSeconds() const {
    return std::chrono::system_clock::to_time_t(clock_.WallNow());
}

} // namespace workstation::service::ring
