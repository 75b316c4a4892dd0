// How much time has passed in a transport stream, by its PCR.
#pragma once

#include <cstdint>
#include <optional>

#include "ts/TsPacket.h"

namespace workstation::ts {

// The PCR of a packet, in units of 1/27000000 s; empty when it has no valid one.
std::optional<std::uint64_t> ProgramClockReference(TsPacketView packet);

// Follows the PCR of one PID: the first that has any. The PCR may wrap. Where it jumps or a
// discontinuity is announced, no time is counted; counting goes on from the new value.
class PcrClock {
public:
    static constexpr std::uint64_t unitsPerSecond = 27000000;

    // To be called for every packet of the stream, in order.
    void See(TsPacketView packet);

    // Whether there has been a PCR.
    bool Running() const { return pcr_.has_value(); }

    // The time since the first PCR, in units of 1/27000000 s.
    std::uint64_t Elapsed() const { return elapsed_; }

private:
    std::uint16_t pid_ = 0;            // of the PCR that is followed
    std::optional<std::uint64_t> pcr_; // its last one
    std::uint64_t elapsed_ = 0;
};

} // namespace workstation::ts
