// Looks through the slot of a stream file for damage.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "evidence/Fault.h"
#include "evidence/SlotReader.h"

namespace workstation::evidence {

// What a slot holds.
struct SlotSummary {
    std::uint64_t bytes = 0; // as stated
    std::uint64_t packets = 0;
    std::uint64_t ticks = 0;
    std::optional<std::uint32_t> firstTick;
    std::optional<std::uint32_t> lastTick;
    std::optional<std::int32_t> from; // time of the first tick, in seconds since the epoch
    std::optional<std::int32_t> to;   // time of the last tick
    std::optional<std::uint64_t>
        bitsPerSecond; // between the first and the last tick, by their numbers
    std::uint64_t faults = 0;

    bool operator==(SlotSummary const&) const = default;
};

// Reads the slot from end to end, passes each fault to `report` in the order of offsets, and each
// number of bytes that were read to `progress`. Needs about 3 MiB of memory, whatever the slot.
SlotSummary ScanSlot(SlotReader& slot, std::function<void(Fault const&)> const& report,
                     std::function<void(std::uint64_t bytes)> const& progress);

} // namespace workstation::evidence
