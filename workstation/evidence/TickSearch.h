// Finds ticks of a slot by their time, without reading the slot.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "evidence/ByteSource.h"
#include "evidence/SlotEnds.h"

namespace workstation::evidence {

// Reads a slot from a place until there is a tick. So a search reads about the distance of two
// ticks for each halving of the slot, and more only where a slot has no ticks for a long way.
class TickSearch {
public:
    // The slot must outlive the search.
    explicit TickSearch(ByteSource& slot)
        : slot_(slot) {}

    // The first tick whose packet begins at `from` or later and before `end`.
    std::optional<PlacedTick> First(std::uint64_t from, std::uint64_t end) {
        return FirstOf(from, end, INT64_MIN);
    }

    // The first tick from `from` on whose time is not before `time`. Times must not decrease in the
    // slot.
    std::optional<PlacedTick> FirstNotBefore(std::int64_t time, std::uint64_t from = 0);

private:
    std::optional<PlacedTick> FirstOf(std::uint64_t from, std::uint64_t end, std::int64_t time);

    ByteSource& slot_;
    std::vector<unsigned char> block_;
};

} // namespace workstation::evidence
