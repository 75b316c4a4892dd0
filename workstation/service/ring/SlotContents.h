// What a slot of the pool has.
#pragma once

#include <cstddef>
#include <optional>

#include "service/recording/TickedPackets.h"

namespace workstation::service::ring {

struct TickRange {
    recording::TickStamp first;
    recording::TickStamp last;

    bool operator==(TickRange const&) const = default;
};

struct SlotContents {
    std::size_t size = 0;           // in bytes, whole packets
    std::optional<TickRange> ticks; // null when the slot has no tick

    void Add(std::size_t bytes, std::optional<TickRange> const& moreTicks) {
        size += bytes;
        if (moreTicks) {
            ticks = TickRange{ticks ? ticks->first : moreTicks->first, moreTicks->last};
        }
    }

    bool operator==(SlotContents const&) const = default;
};

} // namespace workstation::service::ring
