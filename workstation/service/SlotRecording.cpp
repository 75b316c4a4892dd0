// A recording into the ring.
#include "service/SlotRecording.h"

#include <algorithm>
#include <chrono>
#include <exception>

#include "service/ServiceLog.h"

namespace workstation {
namespace {

// How long to wait before trying again what had no room.
constexpr std::chrono::milliseconds retryInterval(250);

} // namespace

SlotRecording::SlotRecording(int stream, FileRing& ring, EventStore& store, Notices& notices,
                             RecordingClock& clock)
    : stream_(stream)
    , ring_(ring)
    , store_(store)
    , notices_(notices)
    , clock_(clock) {}

void SlotRecording::Begin(StopEvent const&) {
    std::int64_t const now = WallSeconds();
    recording_ = {store_.NewReid(now), now, now, 1U << (stream_ - 1), false, ""};
    Log("recording " + recording_.reid + " started");
    notices_.Post(RecordStarted{recording_.reid});
}

void SlotRecording::Write(TickedPackets const& packets, StopEvent const& stop) {
    stop_ = &stop;
    filler_.Write(packets, stop);
}

void SlotRecording::End() {
    filler_.Finish();
    recording_.stopTime = std::max(recording_.startTime, WallSeconds());
    Log("recording " + recording_.reid + " stopped");
    notices_.Post(RecordStopped{recording_});
}

bool SlotRecording::OpenSlot(StopEvent const& stop) {
    file_ = ring_.Take(stream_);
    if (!file_)
        Log("no file to record into: events hold them all, or others write them");
    while (!file_) {
        if (stop.WaitFor(retryInterval))
            return false;
        file_ = ring_.Take(stream_);
    }
    Log("recording into stream file " + std::to_string(file_->Number()));
    return true;
}

void SlotRecording::WriteSlot(std::span<unsigned char const> packets,
                              SlotContents const& contents) {
    Insist([&] { file_->Append(packets, contents, WallSeconds()); });
}

void SlotRecording::CloseSlot(SlotContents const& contents) {
    Insist([&] { file_->Finish(contents, WallSeconds()); });
    file_.reset();
}

// Repeats the operation until it succeeds. Says once that it did not, and gives up, with what it
// threw, when the recording is to stop.
template <typename Operation>
void SlotRecording::Insist(Operation operation) {
    for (bool isFirst = true;; isFirst = false) {
        try {
            operation();
            return;
        } catch (std::exception const& failure) {
            if (isFirst)
                Log("cannot record into stream file " + std::to_string(file_->Number()) + ": " +
                    failure.what());
            if (stop_->WaitFor(retryInterval))
                throw;
        }
    }
}

std::int64_t SlotRecording::WallSeconds() const {
    return std::chrono::system_clock::to_time_t(clock_.WallNow());
}

void SlotRecording::Log(std::string const& text) const {
    LogNotification("stream " + std::to_string(stream_) + ": " + text);
}

} // namespace workstation
