// How a recording is doing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "service/recording/BitRate.h"
#include "service/recording/RecordingClock.h"
#include "service/recording/RecordingSettings.h"
#include "status/ServiceStatus.h"

namespace workstation::service::recording {

// Set by the recording's thread, read by any other.
class RecordingStatus {
public:
    // `changed` is called by the recording's thread when another state, slot or problem is to be
    // shown.
    explicit RecordingStatus(
        RecordingSettings const& settings, std::function<void()> changed = [] {});

    // --- For the recording ---

    void SourceIsLive();
    void LiveSourceBegins(); // at first or again
    void LiveSourceIsGone();
    void HasPackets(std::size_t size, RecordingClock::Time now, RecordingClock::WallTime wallNow);
    void HasDropped(std::uint64_t bytes); // in all
    void HasEnded();

    // --- For its target ---

    void RecordsInto(std::optional<int> slot);

    // --- For each of its parts ---

    // What keeps the recording from going on, or has ended it; empty: nothing any more.
    void HasProblem(std::string problem);

    // --- For others ---

    status::StreamStatus At(RecordingClock::Time now) const;

private:
    template <typename Field, typename Value>
    void Change(Field status::StreamStatus::*field, Value value);

    std::function<void()> changed_;
    mutable std::mutex mutex_; // of what follows
    status::StreamStatus status_;
    BitRate bitRate_;
    std::uint32_t beginnings_ = 0; // of a live source
};

} // namespace workstation::service::recording
