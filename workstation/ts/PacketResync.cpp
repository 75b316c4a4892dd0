// Finds the alignment of a transport stream, at its start and after damage.
#include "ts/PacketWalk.h"

#include <algorithm>
#include <cstring>

#include <bitstream/mpeg/ts.h>

namespace workstation::ts {

namespace {

// Packets in a row that make an alignment trusted.
constexpr std::size_t trustedPackets = 3;

// How far an alignment is followed to see whether it lasts.
constexpr std::size_t comparedPackets = 16;

// A header that can be right: adaptation_field_control 00 is reserved.
bool HasPlausibleHeader(unsigned char const* packet) {
    return !ts_get_transporterror(packet) && (ts_has_payload(packet) || ts_has_adaptation(packet));
}

} // namespace

std::size_t PacketWalk::First(std::size_t from) const {
    return Align(std::min(from, stream_.size()));
}

// Whether the data may be taken to end at a position that packets in step have led to.
bool PacketWalk::DataEndAt(std::size_t position) const {
    auto const rest = stream_.subspan(position, std::min(tsPacketSize, stream_.size() - position));
    bool const cutPacket = rest.size() < tsPacketSize && !rest.empty() && rest[0] == tsSyncByte;
    return cutPacket || std::ranges::all_of(rest, [](unsigned char byte) { return byte == 0; });
}

// How many packets there are in step from a position on, counted until they are to be trusted.
std::size_t PacketWalk::PacketsInStep(std::size_t position) const {
    std::size_t packets = 0;
    while (packets < trustedPackets && PacketAt(position + packets * tsPacketSize)) {
        ++packets;
    }
    return packets;
}

bool PacketWalk::Trusted(std::size_t position) const {
    std::size_t const packets = PacketsInStep(position);
    return packets == trustedPackets ||
           (packets > 0 && DataEndAt(position + packets * tsPacketSize));
}

// Whether an alignment holds on: bytes of the payload that are in step for a while soon are not,
// or head no header that can be right. A few damaged packets do not count.
bool PacketWalk::Lasts(std::size_t position) const {
    std::size_t steps = 0;
    std::size_t packets = 0;
    while (steps < comparedPackets && position + tsPacketSize <= stream_.size() &&
           !DataEndAt(position)) {
        packets += PacketAt(position) && HasPlausibleHeader(&stream_[position]) ? 1 : 0;
        ++steps;
        position += tsPacketSize;
    }
    return 4 * packets >= 3 * steps;
}

// The position of the first sync byte in a range of the stream, its end when there is none.
std::size_t PacketWalk::FindSyncByte(std::size_t from, std::size_t end) const {
    void const* const found =
        from < end ? std::memchr(&stream_[from], tsSyncByte, end - from) : nullptr;
    return found == nullptr ? end
                            : static_cast<std::size_t>(static_cast<unsigned char const*>(found) -
                                                       stream_.data());
}

// The packet to go on with where the one that should begin at `lost` does not.
std::size_t PacketWalk::Realign(std::size_t lost) const {
    if (lost >= stream_.size()) {
        return End();
    }
    if (PacketsInStep(lost + tsPacketSize) == trustedPackets) {
        return lost + tsPacketSize; // one damaged packet, the alignment stands
    }
    // Where bytes are missing from the packet before, the next one begins within its length.
    return Align(DataEndAt(lost) ? lost : lost - tsPacketSize + 1);
}

// The first packet, from a position on, whose alignment is to be trusted. Where bytes of the
// payload are in step as well, several begin within the length of a packet: one that lasts is
// preferred.
std::size_t PacketWalk::Align(std::size_t from) const {
    std::size_t first = End();
    std::size_t end = End();
    for (auto position = FindSyncByte(from, end); position < end;
         position = FindSyncByte(position + 1, end)) {
        if (!Trusted(position)) {
            continue;
        }
        if (Lasts(position)) {
            return position;
        }
        if (first == End()) {
            first = position;
            end = std::min(end, position + tsPacketSize);
        }
    }
    return first;
}

} // namespace workstation::ts
