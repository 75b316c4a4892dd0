// Says in the log what becomes of a source's alignment.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "service/recording/PacketAligner.h"
#include "service/recording/RecordingClock.h"

namespace workstation::service::recording {

// A line when sync is lost, one when it is found again. Of a source that loses it all the time, one
// line in ten seconds sums up what has happened since the one before.
class SyncReport {
public:
    using Time = RecordingClock::Time;

    explicit SyncReport(std::function<void(std::string const&)> log)
        : log_(std::move(log)) {}

    // To be called with each new state; counts only grow.
    void Update(AlignmentCounts const& counts, bool isInSync, Time now);

    // Says what has not been said yet: the source has ended.
    void Finish(AlignmentCounts const& counts);

private:
    bool IsLost(AlignmentCounts const& counts) const { return counts.losses != said_.losses; }
    bool IsFound(AlignmentCounts const& counts, bool isInSync) const {
        return !IsLost(counts) && isInSync && !saidInSync_;
    }
    void Say(AlignmentCounts const& counts, bool isInSync);

    std::function<void(std::string const&)> log_;
    AlignmentCounts said_;
    bool saidInSync_ = false;
    std::optional<Time> quietUntil_; // about losses
};

} // namespace workstation::service::recording
