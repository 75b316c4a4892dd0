// Reports when a source loses sync and when it is found again.
#include "service/recording/SyncReport.h"

namespace workstation::service::recording {
namespace {

constexpr std::chrono::seconds quietTime(10);
constexpr std::chrono::minutes noiseTime(1);

std::string Times(std::uint64_t count) {
    return count == 1 ? "" : " " + std::to_string(count) + " times";
}

std::string Dropped(std::uint64_t size) {
    return std::to_string(size) + " bytes dropped";
}

} // namespace

void SyncReport::Update(SyncCounts const& counts, bool isInSync, Time now) {
    bool const isQuiet = quietUntil_ && now < *quietUntil_;
    if (IsLost(counts) && !isQuiet) {
        quietUntil_ = now + quietTime;
        ReportLossOrFind(counts, isInSync);
    } else if (IsFound(counts, isInSync)) {
        ReportLossOrFind(counts, isInSync);
    } else if (!IsLost(counts)) {
        WatchNoise(counts, now);
    }
}

void SyncReport::Finish(SyncCounts const& counts) {
    if (IsLost(counts)) {
        ReportLossOrFind(counts, false);
    }
}

void SyncReport::ReportLossOrFind(SyncCounts const& counts, bool isInSync) {
    std::uint64_t const losses = counts.losses - reported_.losses;
    std::uint64_t const dropped = counts.droppedBytes - reported_.droppedBytes;
    if (losses > 0) {
        report_("lost sync" + Times(losses) + (isInSync ? " and found it again, " : ", ") +
                    Dropped(dropped),
                log::Severity::warning);
    } else if (dropped > 0) {
        report_("found sync, " + Dropped(dropped), log::Severity::notice);
    }
    Remember(counts, isInSync);
}

void SyncReport::WatchNoise(SyncCounts const& counts, Time now) {
    std::uint64_t const noise = counts.droppedBytes - reported_.droppedBytes;
    if (noise == 0 || !reportedInSync_) {
        return;
    }
    if (!noiseDue_) {
        noiseDue_ = now + noiseTime;
    } else if (now >= *noiseDue_) {
        report_(std::to_string(noise) + " bytes of noise in a minute, dropped",
                log::Severity::warning);
        Remember(counts, true);
    }
}

void SyncReport::Remember(SyncCounts const& counts, bool isInSync) {
    reported_ = counts;
    reportedInSync_ = isInSync;
    noiseDue_.reset();
}

} // namespace workstation::service::recording
