// The first and the last tick of a slot.
#pragma once

#include <cstdint>
#include <optional>

#include "evidence/SlotReader.h"

namespace workstation::evidence {

// A tick and where its packet begins in the slot.
struct PlacedTick {
    std::uint64_t offset;
    std::uint32_t tick;
    std::int32_t time; // seconds since the epoch

    bool operator==(PlacedTick const&) const = default;
};

struct SlotEnds {
    PlacedTick first;
    PlacedTick last;

    bool operator==(SlotEnds const&) const = default;
};

// Reads forward from the start of the slot and backward from its end, in blocks that grow, until a
// tick is found. What cannot be read is passed over; holes of the image are not read. Null when the
// slot has no tick.
std::optional<SlotEnds> FindSlotEnds(SlotReader& slot);

// The first tick whose packet begins from byte `begin` of the slot on and before byte `end`, which
// is not beyond the stated length. Null when there is none.
std::optional<PlacedTick> FirstTickIn(SlotReader& slot, std::uint64_t begin, std::uint64_t end);

} // namespace workstation::evidence
