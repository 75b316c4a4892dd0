// Reports when a source loses sync and when it is found again.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "service/recording/PacketAssembler.h"
#include "service/recording/RecordingClock.h"
#include "service/recording/Report.h"

namespace workstation::service::recording {

// One line when sync is lost, one when it is found again. If a source loses it all the time, one
// line in ten seconds sums up the losses since the line before. Bytes that come between packets and
// belong to none, such as other datagrams, are noise: they are summed up in one line a minute.
class SyncReport {
public:
    using Time = RecordingClock::Time;

    explicit SyncReport(Report report)
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
    void ReportLossOrFind(SyncCounts const& counts, bool isInSync);
    void WatchNoise(SyncCounts const& counts, Time now);
    void Remember(SyncCounts const& counts, bool isInSync);

    Report report_;
    SyncCounts reported_;
    bool reportedInSync_ = false;
    std::optional<Time> quietUntil_; // about losses
    std::optional<Time> noiseDue_;   // when the noise that has come is reported
};

} // namespace workstation::service::recording
