// Packets as they are recorded, with system ticks among them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace workstation::service::recording {

struct TickStamp {
    std::uint32_t tick;
    int time; // seconds since the epoch

    bool operator==(TickStamp const&) const = default;
};

// A system tick and the offset of its packet in bytes.
struct PlacedTick {
    std::size_t offset;
    TickStamp stamp;
};

// Whole packets, and the ticks among them in the order of their offsets.
struct TickedPackets {
    std::span<unsigned char const> bytes;
    std::span<PlacedTick const> ticks;
};

// Ticked packets while they are collected.
struct TickedBlock {
    std::vector<unsigned char> bytes;
    std::vector<PlacedTick> ticks;

    operator TickedPackets() const { return {bytes, ticks}; }

    void Clear() {
        bytes.clear();
        ticks.clear();
    }
};

} // namespace workstation::service::recording
