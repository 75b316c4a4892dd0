// What a scan prints: lines for people, or JSON.
#pragma once

#include <memory>
#include <ostream>

#include "evidence/Fault.h"
#include "evidence/SlotScan.h"

namespace workstation::evidence {

// Called in the order of slots: each fault of a slot, then the slot.
class ScanReport {
public:
    virtual ~ScanReport() = default;

    virtual void Add(int slot, Fault const& fault) = 0;
    virtual void End(int slot, SlotSummary const& summary) = 0;

    // All slots were scanned.
    virtual void End() = 0;
};

// A line for each fault, and at the end a line for each slot. `out` must outlive the report.
std::unique_ptr<ScanReport> MakeTextReport(std::ostream& out);

// One JSON document as docs/scan.schema.json describes it. Written as it comes, since a damaged
// slot can have half a million faults.
std::unique_ptr<ScanReport> MakeJsonReport(std::ostream& out);

} // namespace workstation::evidence
