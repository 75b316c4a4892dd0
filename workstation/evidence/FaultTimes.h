// When the faults of a pool happened.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "evidence/ScanReport.h"

namespace workstation::evidence {

// The faults of one kind in one slot whose time is the same second.
struct FaultsAtOnce {
    int slot;
    FaultKind kind;
    std::optional<std::int32_t> time; // as that of a Fault
    std::uint64_t count;
};

struct ScannedSlot {
    int slot;
    SlotSummary summary;
};

// Keeps what a scan reports, but of each fault only its kind and time: a damaged slot can have half
// a million of them.
class FaultTimes : public ScanReport {
public:
    void Add(int slot, Fault const& fault) override;
    void End(int slot, SlotSummary const& summary) override;
    void End() override {}

    // In the order of slots.
    std::vector<FaultsAtOnce> const& Faults() const { return faults_; }
    std::vector<ScannedSlot> const& Slots() const { return slots_; }

private:
    std::map<std::pair<std::optional<std::int32_t>, FaultKind>, std::uint64_t> ofSlot_;
    std::vector<FaultsAtOnce> faults_;
    std::vector<ScannedSlot> slots_;
};

} // namespace workstation::evidence
