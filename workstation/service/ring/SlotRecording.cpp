// A recording into the ring.
#include "service/ring/SlotRecording.h"

#include <algorithm>
#include <chrono>
#include <exception>

#include "log/PlatformLog.h"

namespace workstation::service::ring {
namespace {

// How long to wait before trying again what had no room.
constexpr std::chrono::milliseconds retryInterval(250);

} // namespace

SlotRecording::SlotRecording(int stream, FileRing& ring, store::EventStore& store, Notices& notices,
                             recording::RecordingClock& clock)
    : stream_(stream)
    , ring_(ring)
    , store_(store)
    , notices_(notices)
    , clock_(clock) {}

// Repeats the operation until it succeeds. Says once that it did not, and gives up, with what it
// threw, when the recording is to stop.
template <typename Operation>
auto SlotRecording::Insist(std::string const& what, Operation operation) const {
    for (bool isFirst = true;; isFirst = false) {
        try {
            return operation();
        } catch (std::exception const& failure) {
            if (isFirst) {
                Log("cannot " + what + ": " + failure.what());
            }
            if (stop_->WaitFor(retryInterval)) {
                throw;
            }
        }
    }
}

void SlotRecording::Begin(recording::StopEvent const& stop) {
    stop_ = &stop;
    std::int64_t const now = WallSeconds();
    std::string const reid = Insist("begin to record", [&] { return store_.NewReid(now); });
    recording_ = {reid, now, now, 1U << (stream_ - 1), false, ""};
    Log("recording " + reid + " started");
    notices_.Post(RecordStarted{reid});
}

void SlotRecording::Write(recording::TickedPackets const& packets,
                          recording::StopEvent const& stop) {
    filler_.Write(packets, stop);
}

// Who was told of the start is told of the end, whatever has failed.
void SlotRecording::End() {
    try {
        filler_.Finish();
    } catch (std::exception const&) {
        Log("stream file " + std::to_string(file_->Number()) +
            " is left for the next start to finish");
        file_.reset();
    }
    recording_.stopTime = std::max(recording_.startTime, WallSeconds());
    Log("recording " + recording_.reid + " stopped");
    notices_.Post(RecordStopped{recording_});
}

std::uint32_t SlotRecording::ReserveTicks(int stream, std::uint32_t count) {
    return Insist("number ticks",
                  [&] { return store_.ReserveTicks(static_cast<unsigned int>(stream), count); });
}

void SlotRecording::ReturnTicks(int stream, std::uint32_t next) {
    store_.ReturnTicks(static_cast<unsigned int>(stream), next);
}

bool SlotRecording::OpenSlot(recording::StopEvent const& stop) {
    file_ = TakeFile();
    if (!file_) {
        Log("no file to record into: events hold them all, or others write them");
    }
    while (!file_) {
        if (stop.WaitFor(retryInterval)) {
            return false;
        }
        file_ = TakeFile();
    }
    Log("recording into stream file " + std::to_string(file_->Number()));
    return true;
}

std::unique_ptr<RingFile> SlotRecording::TakeFile() const {
    return Insist("take a stream file", [&] { return ring_.Take(stream_); });
}

void SlotRecording::WriteSlot(std::span<unsigned char const> packets,
                              SlotContents const& contents) {
    Insist("record into stream file " + std::to_string(file_->Number()),
           [&] { file_->Append(packets, contents, WallSeconds()); });
}

void SlotRecording::CloseSlot(SlotContents const& contents) {
    Insist("finish stream file " + std::to_string(file_->Number()),
           [&] { file_->Finish(contents, WallSeconds()); });
    file_.reset();
}

std::int64_t SlotRecording::WallSeconds() const {
    return std::chrono::system_clock::to_time_t(clock_.WallNow());
}

void SlotRecording::Log(std::string const& text) const {
    log::LogNotification("stream " + std::to_string(stream_) + ": " + text);
}

} // namespace workstation::service::ring
