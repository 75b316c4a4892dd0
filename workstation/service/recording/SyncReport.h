// Reports when a source loses sync and when it is found again.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "service/recording/PacketAssembler.h"
#include "service/recording/RecordingClock.h"

namespace workstation::service::recording {

// One line when sync is lost, one when it is found again. If a source loses it all the time, one
// line in ten seconds sums up the losses since the line before.
class SyncReport {
public:
    using Time = RecordingClock::Time;

    explicit SyncReport(std::function<void(std::string const&)> report)
        : report_(std::move(report)) {}

    // To be called after every read, with the counts since the start of the recording.
    void Update(SyncCounts const& counts, bool isInSync, Time now);

    // The source has ended: reports what has not been reported yet.
    void Finish(SyncCounts const& counts);

private:
    bool IsLost(SyncCounts const& counts) const { return counts.losses != reported_.losses; }
    bool IsFound(SyncCounts const& counts, bool isInSync) const {
        return !IsLost(counts) && isInSync && !reportedInSync_;
    }
    void Report(SyncCounts const& counts, bool isInSync);

    std::function<void(std::string const&)> report_;
    SyncCounts reported_;
    bool reportedInSync_ = false;
    std::optional<Time> quietUntil_; // about losses
};

} // namespace workstation::service::recording
