// Looks through the slot of a stream file for damage.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "evidence/ByteSource.h"
#include "evidence/Fault.h"
#include "evidence/SlotEnds.h"

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

// Is called while a slot is scanned.
class ScanObserver {
public:
    virtual ~ScanObserver() = default;

    // The next bytes of the slot were read.
    virtual void OnRead(std::span<unsigned char const> bytes) = 0;

    // Each fault, in the order of offsets.
    virtual void OnFault(Fault const& fault) = 0;

    // Each tick, repetitions too.
    virtual void OnTick(PlacedTick const& /*tick*/) {}
};

// Reads the slot, or pieces in a row, from end to end. Needs about 3 MiB of memory, whatever the
// length.
SlotSummary ScanSlot(ByteSource& slot, ScanObserver& observer);

} // namespace workstation::evidence
