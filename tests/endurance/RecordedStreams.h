// What a pool holds of streams whose packets can be recognised.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <vector>

#include "powercut/PoolBytes.h"

namespace endurance {

struct RecordedPacket {
    std::uint64_t index;
    int slot;
    std::uint64_t offset; // in the slot
};

// The packets of each stream, in the order of its slots.
inline std::map<int, std::vector<RecordedPacket>>
RecordedStreams(std::filesystem::path const& path) {
    powercut::PoolBytes const pool(path);
    std::map<int, std::map<std::uint64_t, std::vector<RecordedPacket>>> slots; // by first index
    for (int slot = 1; slot <= pool.FileCount(); ++slot) {
        int stream = 0;
        std::vector<RecordedPacket> packets;
        pool.ForEachPacket(slot, pool.Entry(slot).length, [&](powercut::FoundPacket const& packet) {
            if (packet.name) {
                stream = packet.name->stream;
                packets.push_back({packet.name->index, slot, packet.offset});
            }
        });
        if (!packets.empty()) {
            std::uint64_t const first = packets.front().index;
            slots[stream][first] = std::move(packets);
        }
    }
    std::map<int, std::vector<RecordedPacket>> streams;
    for (auto const& [stream, pieces] : slots) {
        for (auto const& [first, packets] : pieces) {
            std::ranges::copy(packets, std::back_inserter(streams[stream]));
        }
    }
    return streams;
}

} // namespace endurance
