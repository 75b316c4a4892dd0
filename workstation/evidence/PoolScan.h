// Looks through the slots of a pool for damage, several at once.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "evidence/PoolView.h"
#include "evidence/ScanReport.h"

namespace workstation::evidence {

// Scans the slots with these numbers, which the pool has, and reports them in this order.
// `progress` is called from several threads with numbers of bytes that were read. Returns the
// number of faults. Keeps some megabytes of memory for each processor, whatever the damage.
std::uint64_t ScanPool(PoolView const& pool, std::vector<int> const& slots, ScanReport& report,
                       std::function<void(std::uint64_t bytes)> const& progress);

} // namespace workstation::evidence
