// How a recording is doing.
#include "service/recording/RecordingStatus.h"

#include <chrono>
#include <utility>

#include "service/recording/SourceName.h"

namespace workstation::service::recording {

using State = status::StreamStatus::State;

RecordingStatus::RecordingStatus(RecordingSettings const& settings) {
    status_.stream = static_cast<unsigned int>(settings.stream);
    status_.source = ShownSource(settings.source);
}

void RecordingStatus::SourceIsLive() {
    std::lock_guard const lock(mutex_);
    status_.isLive = true;
}

void RecordingStatus::LiveSourceBegins() {
    std::lock_guard const lock(mutex_);
    status_.restarts = beginnings_++;
}

void RecordingStatus::LiveSourceIsGone() {
    std::lock_guard const lock(mutex_);
    status_.state = State::waiting;
}

void RecordingStatus::HasPackets(std::size_t size, RecordingClock::Time now,
                                 RecordingClock::WallTime wallNow) {
    std::lock_guard const lock(mutex_);
    status_.state = State::recording;
    status_.lastPacket = std::chrono::system_clock::to_time_t(wallNow);
    bitRate_.Add(size, now);
}

void RecordingStatus::HasDropped(std::uint64_t bytes) {
    std::lock_guard const lock(mutex_);
    status_.droppedBytes = bytes;
}

void RecordingStatus::HasEnded() {
    std::lock_guard const lock(mutex_);
    status_.state = State::ended;
}

void RecordingStatus::RecordsInto(std::optional<int> slot) {
    std::lock_guard const lock(mutex_);
    status_.slot = slot;
}

void RecordingStatus::HasProblem(std::string problem) {
    std::lock_guard const lock(mutex_);
    status_.problem = std::move(problem);
}

status::StreamStatus RecordingStatus::At(RecordingClock::Time now) const {
    std::lock_guard const lock(mutex_);
    status::StreamStatus status = status_;
    status.bitsPerSecond = bitRate_.At(now);
    return status;
}

} // namespace workstation::service::recording
