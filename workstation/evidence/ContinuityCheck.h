// Looks for packets that are missing from a transport stream, by their continuity_counter.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "ts/TsPacket.h"

namespace workstation::evidence {

// Follows the counter of every PID but that of null packets and of ticks, which have numbers of
// their own. As the standard has it, one repetition of a packet is allowed, packets without payload
// do not count, and a jump may be announced by discontinuity_indicator.
class ContinuityCheck {
public:
    // Returns the packet that begins at an offset where an earlier one was taken; empty when it
    // cannot be read.
    using PacketAt = std::function<std::vector<unsigned char>(std::uint64_t offset)>;

    explicit ContinuityCheck(PacketAt packetAt)
        : packetAt_(std::move(packetAt)) {}

    // Takes the next packet, which begins at `offset`. Returns how many packets of its PID are
    // missing before it, modulo 16 (15 for a repetition that is not allowed); nullopt when none is.
    std::optional<unsigned int> Take(std::uint64_t offset, ts::TsPacketView packet);

    // The same for a packet with an error, whose header may be wrong: it counts only when its
    // counter fits.
    void TakeUntrusted(std::uint64_t offset, ts::TsPacketView packet);

private:
    static constexpr std::size_t pidCount = 8192;

    struct Last {
        std::uint64_t offset = 0;
        std::uint8_t counter = 0;
        bool isKnown = false;
        bool isRepetition = false;
    };

    bool IsRepetition(Last const& last, ts::TsPacketView packet) const;

    PacketAt packetAt_;
    std::vector<Last> last_ = std::vector<Last>(pidCount); // by PID
};

} // namespace workstation::evidence
