// How a recording is doing.
#include "service/recording/RecordingStatus.h"

#include <chrono>
#include <utility>

#include "service/recording/SourceName.h"

namespace workstation::service::recording {

using State = status::StreamStatus::State;

RecordingStatus::RecordingStatus(RecordingSettings const& settings, std::function<void()> changed)
    : changed_(std::move(changed)) {
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
    Change(&status::StreamStatus::state, State::waiting);
}

void RecordingStatus::HasPackets(std::size_t size, RecordingClock::Time now,
                                 RecordingClock::WallTime wallNow) {
    Change(&status::StreamStatus::state, State::recording);
    std::lock_guard const lock(mutex_);
    status_.lastPacket = std::chrono::system_clock::to_time_t(wallNow);
    bitRate_.Add(size, now);
}

void RecordingStatus::HasDropped(std::uint64_t bytes) {
    std::lock_guard const lock(mutex_);
    status_.droppedBytes = bytes;
}

void RecordingStatus::HasEnded() {
    Change(&status::StreamStatus::state, State::ended);
}

void RecordingStatus::RecordsInto(std::optional<int> slot) {
    Change(&status::StreamStatus::slot, slot);
}

void RecordingStatus::HasProblem(std::string problem) {
    Change(&status::StreamStatus::problem, std::move(problem));
}

template <typename Field, typename Value>
void RecordingStatus::Change(Field status::StreamStatus::*field, Value value) {
    {
        std::lock_guard const lock(mutex_);
        if (status_.*field == value) {
            return;
        }
        status_.*field = std::move(value);
    }
    changed_();
}

status::StreamStatus RecordingStatus::At(RecordingClock::Time now) const {
    std::lock_guard const lock(mutex_);
    status::StreamStatus status = status_;
    status.bitsPerSecond = bitRate_.At(now);
    return status;
}

} // namespace workstation::service::recording
