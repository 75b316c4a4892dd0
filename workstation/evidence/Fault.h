// Damage found in the slot of a stream file.
#pragma once

#include <cstdint>
#include <optional>

namespace workstation::evidence {

enum class FaultKind : std::uint8_t {
    sync,           // bytes that belong to no packet
    continuity,     // a continuity_counter that jumps
    tick,           // tick numbers are missing
    zeros,          // at least a packet's length of zeros
    unreadable,     // an input/output error
    transportError, // transport_error_indicator is set
};

// The name of a kind in reports.
char const* Name(FaultKind kind);

// Offsets count from the first byte of the slot, or of what is scanned as one. Small, since a slot
// can have half a million faults.
struct Fault {
    std::uint64_t offset; // of a jump: that of the packet in which it shows
    std::uint64_t bytes;
    std::optional<std::int32_t> time;     // of the last tick before it, in seconds since the epoch
    std::optional<std::uint32_t> missing; // packets modulo 16, or ticks
    std::optional<std::uint16_t> pid;
    FaultKind kind;

    bool operator==(Fault const&) const = default;
};

} // namespace workstation::evidence
