// Adds system ticks to a transport stream as it passes.
#pragma once

#include <cstdint>
#include <vector>

#include "StreamMetadata.h"
#include "ts/PcrClock.h"
#include "ts/TickNumbering.h"
#include "ts/TsPacket.h"

namespace workstation::ts {

// The first tick comes before the first packet, every other one before the packet whose PCR shows
// that its time has come. Nothing is held back, so a stream can be recorded while it comes in. The
// packets of the stream pass as they are.
class TickInserter {
public:
    static constexpr unsigned int usualRate = 20; // ticks a second

    // `time` is that of the first tick, in seconds since the epoch; `rate` is not 0.
    TickInserter(TickNumbering numbering, int time, unsigned int rate = usualRate);

    // Appends to `out` the ticks that are due, then the packet.
    void Pass(TsPacketView packet, std::vector<unsigned char>& out);

    // Whether the stream has had a PCR so far. Without any there is but the first tick.
    bool HasClock() const { return clock_.Running(); }

    // What the next tick will say, also for an inserter that goes on where this one ends.
    StreamMetadata NextTick() const;

private:
    bool NextTickIsDue() const;

    TickNumbering numbering_;
    int time_;
    unsigned int rate_;
    PcrClock clock_;
    std::uint64_t next_ = 0;             // index of the next tick
    unsigned int continuityCounter_ = 0; // of the next tick's packet
};

} // namespace workstation::ts
