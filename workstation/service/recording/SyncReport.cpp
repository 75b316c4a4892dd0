// Says in the log what becomes of a source's alignment.
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

void SyncReport::Update(AlignmentCounts const& counts, bool isInSync, Time now) {
    bool const isQuiet = quietUntil_ && now < *quietUntil_;
    if (IsLost(counts) && !isQuiet) {
        quietUntil_ = now + quietTime;
        Say(counts, isInSync);
    } else if (IsFound(counts, isInSync)) {
        Say(counts, isInSync);
    }
}

void SyncReport::Finish(AlignmentCounts const& counts) {
    if (IsLost(counts)) {
        Say(counts, false);
    }
}

void SyncReport::Say(AlignmentCounts const& counts, bool isInSync) {
    std::uint64_t const losses = counts.losses - said_.losses;
    std::uint64_t const dropped = counts.droppedBytes - said_.droppedBytes;
    if (losses > 0) {
        log_("lost sync" + Times(losses) + (isInSync ? " and found it again, " : ", ") +
             Dropped(dropped));
    } else if (dropped > 0) {
        log_("found sync, " + Dropped(dropped));
    }
    said_ = counts;
    saidInSync_ = isInSync;
}

} // namespace workstation::service::recording
