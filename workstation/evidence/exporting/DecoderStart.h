// Looks for the place before a tick from which a decoder can start.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "evidence/TickSearch.h"
#include "evidence/exporting/PoolSlots.h"

namespace workstation::evidence::exporting {

// A packet in a chain of slots.
struct ChainPlace {
    std::size_t link; // index in the chain
    std::uint64_t offset;

    bool operator==(ChainPlace const&) const = default;
    bool IsBefore(ChainPlace const& other) const {
        return link != other.link ? link < other.link : offset < other.offset;
    }
};

// Returns the last PAT packet at or before the last random access point at or before a tick of the
// chain: the tick itself where there is no such place within 16 MiB, or none after the last gap.
//
// A random access point is a packet with random_access_indicator on the PID of the first video
// stream in the PMT, or of the first stream where there is no video. Reads backwards block by
// block, into slots before that of the tick where it has to.
//
// `chain` are the numbers of slots in the order of recording.
ChainPlace FindDecoderStart(PoolSlots& slots, std::vector<int> const& chain, std::size_t link,
                            PlacedTick const& tick);

} // namespace workstation::evidence::exporting
