// A map of the damage in a pool image, for programs that rescue data.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "NewFile.h"
#include "evidence/Fault.h"
#include "evidence/PoolView.h"
#include "evidence/ScanReport.h"

namespace workstation::evidence {

// A mapfile as GNU ddrescue writes it: "+" for bytes that were read and are sound, "-" for those
// that belong to no packet, are zeros or cannot be read, "?" for those that were not looked at. A
// report that writes the map passes everything on to another one.
//
// The slots come in ascending order. The file appears when `Complete` is called.
class DamageMap : public ScanReport {
public:
    // Throws Failure when the file cannot be written, as the other operations do.
    DamageMap(std::string const& path, PoolView const& pool, ScanReport& next);

    void Add(int slot, Fault const& fault) override;
    void End(int slot, SlotSummary const& summary) override;
    void End() override;

    void Complete();

private:
    void Mark(std::uint64_t end, char status);
    void Write(std::string const& text);

    PoolView const& pool_;
    ScanReport& next_;
    NewFile file_;
    std::uint64_t place_ = 0; // everything before it is in the map, but for the open range
    std::uint64_t rangeBegin_ = 0;
    char rangeStatus_ = 0;
};

} // namespace workstation::evidence
