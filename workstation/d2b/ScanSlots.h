// Scans slots of a pool and shows the progress.
#pragma once

#include <cstdint>
#include <vector>

#include "d2b/EvidenceOptions.h"
#include "evidence/PoolView.h"
#include "evidence/ScanReport.h"

namespace workstation::d2b {

// Throws Failure when the pool has no slot of this number.
void RequireSlot(evidence::PoolView const& pool, int slot);

// Those asked for, or all that state a length; ascending, each once. Throws Failure when the pool
// has no such slot.
std::vector<int> SlotsToScan(evidence::PoolView const& pool, std::vector<int> asked);

// Returns the number of faults.
std::uint64_t ScanSlots(evidence::PoolView const& pool, std::vector<int> const& slots,
                        evidence::ScanReport& report, ProgressOptions const& options);

} // namespace workstation::d2b
