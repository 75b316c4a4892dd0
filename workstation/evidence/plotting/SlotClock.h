// The clock of a slot: its ticks, and how fast its bytes came.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "evidence/ByteSource.h"
#include "evidence/Fault.h"
#include "evidence/SlotEnds.h"
#include "evidence/SlotScan.h"

namespace workstation::evidence::plotting {

// The ticks on either side of a gap.
struct ClockGap {
    PlacedTick before;
    PlacedTick after;
};

// The bit rate between two ticks, by their numbers.
struct ClockRate {
    std::int32_t from; // in seconds since the epoch
    std::int32_t to;
    std::uint64_t bitsPerSecond;
};

struct SlotClock {
    int slot;
    SlotSummary summary;
    std::vector<PlacedTick> ticks;
    std::vector<ClockGap> gaps;
    std::vector<Fault> faults;
    std::vector<ClockRate> rates; // one a second; nothing where a gap is
};

// Reads the slot from end to end. `progress` is called with numbers of bytes.
SlotClock ReadSlotClock(int number, ByteSource& slot,
                        std::function<void(std::uint64_t bytes)> const& progress);

} // namespace workstation::evidence::plotting
