// What an export finds in the packets that it copies.
#pragma once

#include <cstdint>

#include "evidence/Fault.h"
#include "evidence/TickSearch.h"

namespace workstation::evidence::exporting {

// A fault in a slot, and where its bytes are in the exported file.
struct ExportedFault {
    int slot;
    Fault fault;                // its offset counts in the slot
    std::uint64_t outputOffset; // its offset in the exported file
};

// Two ticks in a row between which something is missing. Called in the order of the packets.
class Findings {
public:
    virtual ~Findings() = default;

    virtual void Add(ExportedFault const& fault) = 0;
    virtual void AddGap(PlacedTick const& before, PlacedTick const& after) = 0;
};

} // namespace workstation::evidence::exporting
