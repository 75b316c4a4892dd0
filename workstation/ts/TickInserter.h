// Inserts system ticks into a transport stream while it is read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "StreamMetadata.h"
#include "ts/PcrClock.h"
#include "ts/TickGaps.h"
#include "ts/TsPacket.h"

namespace workstation::ts {

// A system tick that was inserted.
struct InsertedTick {
    std::size_t offset; // of its packet in the output, in bytes
    std::uint32_t tick;
    int time; // seconds since the epoch

    bool operator==(InsertedTick const&) const = default;
};

// The first tick comes before the first packet, every other one before the packet whose PCR shows
// that its time has come. No packet is held back, so a live stream can be recorded. The packets of
// the stream are not changed.
class TickInserter {
public:
    static constexpr unsigned int usualRate = 20; // ticks a second

    // Ticks count up from `first`. `time` is that of the first tick, in seconds since the epoch;
    // `rate` is not 0.
    TickInserter(std::uint32_t first, int time, unsigned int rate = usualRate)
        : TickInserter(TickGaps(first), time, rate) {}
    TickInserter(TickGaps numbers, int time, unsigned int rate = usualRate);

    // Appends to `out` the ticks that are due, then the packet. Returns these ticks; they are valid
    // until the next call.
    std::span<InsertedTick const> Pass(TsPacketView packet, std::vector<unsigned char>& out);

    // Whether the stream has had a PCR so far. Without one there is only the first tick.
    bool HasClock() const { return clock_.Running(); }

    // What the next tick will contain, also for an inserter that goes on where this one ends.
    StreamMetadata NextTick() const;

private:
    bool NextTickIsDue() const;
    void Append(StreamMetadata const& tick, std::vector<unsigned char>& out);

    TickGaps numbers_;
    int time_;
    unsigned int rate_;
    PcrClock clock_;
    std::uint64_t next_ = 0;             // index of the next tick
    unsigned int continuityCounter_ = 0; // of the next tick's packet
    std::vector<InsertedTick> inserted_; // by the last call of Pass
};

} // namespace workstation::ts
