// The faults that a report lists one by one.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "evidence/ScanReport.h"

namespace workstation::evidence::reporting {

struct SlotFault {
    int slot;
    Fault fault;
};

// Keeps the first faults of each slot, counts all by their kind, and passes everything on to
// another report.
class FirstFaults : public ScanReport {
public:
    static constexpr std::uint64_t mostOfSlot = 50;
    static constexpr std::size_t mostOfPool = 2000;

    explicit FirstFaults(ScanReport& next)
        : next_(next) {}

    void Add(int slot, Fault const& fault) override;
    void End(int slot, SlotSummary const& summary) override;
    void End() override { next_.End(); }

    std::vector<SlotFault> const& Listed() const { return listed_; }
    std::map<FaultKind, std::uint64_t> const& Counts() const { return counts_; }
    std::uint64_t Count() const { return count_; }

private:
    ScanReport& next_;
    std::vector<SlotFault> listed_;
    std::map<FaultKind, std::uint64_t> counts_;
    std::uint64_t count_ = 0;
    std::uint64_t ofSlot_ = 0;
};

} // namespace workstation::evidence::reporting
