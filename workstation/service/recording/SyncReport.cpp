// Reports when a source loses sync and when it is found again.
#include "service/recording/SyncReport.h"

namespace workstation::service::recording {
namespace {

constexpr std::chrono::seconds quietTime(10);

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
        Report(counts, isInSync);
    } else if (IsFound(counts, isInSync)) {
        Report(counts, isInSync);
    }
}

void SyncReport::Finish(SyncCounts const& counts) {
    if (IsLost(counts)) {
        Report(counts, false);
    }
}

void SyncReport::Report(SyncCounts const& counts, bool isInSync) {
    std::uint64_t const losses = counts.losses - reported_.losses;
    std::uint64_t const dropped = counts.droppedBytes - reported_.droppedBytes;
    if (losses > 0) {
        report_("lost sync" + Times(losses) + (isInSync ? " and found it again, " : ", ") +
                Dropped(dropped));
    } else if (dropped > 0) {
        report_("found sync, " + Dropped(dropped));
    }
    reported_ = counts;
    reportedInSync_ = isInSync;
}

} // namespace workstation::service::recording
