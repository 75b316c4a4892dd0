// Scans slots of a pool and shows the progress.
#include "d2b/ScanSlots.h"

#include <algorithm>
#include <cerrno>

#include "Failure.h"
#include "evidence/PoolScan.h"
#include "pool/PoolLayout.h"

namespace workstation::d2b {

void RequireSlot(evidence::PoolView const& pool, int slot) {
    auto const slotCount = static_cast<int>(pool.SlotCount());
    if (slot < 1 || slot > slotCount) {
        throw Failure(ENOENT, pool::StreamFileName(slot) + ": the pool has no such file; it has " +
                                  std::to_string(slotCount));
    }
}

std::vector<int> SlotsToScan(evidence::PoolView const& pool, std::vector<int> asked) {
    for (int const slot : asked) {
        RequireSlot(pool, slot);
    }
    if (asked.empty()) {
        for (int slot = 1; slot <= static_cast<int>(pool.SlotCount()); ++slot) {
            if (pool.Length(slot) > 0) {
                asked.push_back(slot);
            }
        }
    }
    std::ranges::sort(asked);
    asked.erase(std::unique(asked.begin(), asked.end()), asked.end());
    return asked;
}

std::uint64_t ScanSlots(evidence::PoolView const& pool, std::vector<int> const& slots,
                        evidence::ScanReport& report, ProgressOptions const& options) {
    std::uint64_t total = 0;
    for (int const slot : slots) {
        total += pool.Length(slot);
    }
    evidence::Progress progress(total, WhenToShow(options));
    return evidence::ScanPool(pool, slots, report,
                              [&](std::uint64_t bytes) { progress.Add(bytes); });
}

} // namespace workstation::d2b
