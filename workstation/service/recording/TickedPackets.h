// Packets as they are recorded: with system ticks among them.
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

// A system tick and where its packet begins.
struct PlacedTick {
    std::size_t offset;
    TickStamp stamp;
};

// Whole packets, and the ticks among them in their order.
struct TickedPackets {
    std::span<unsigned char const> bytes;
    std::span<PlacedTick const> ticks;
};

// The same, while they are gathered.
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
