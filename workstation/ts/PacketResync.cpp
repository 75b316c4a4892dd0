// Finds the packets of a transport stream and resynchronises after damage.
#include "ts/PacketResync.h"

#include <algorithm>
#include <cstring>

#include <bitstream/mpeg/ts.h>

namespace workstation::ts {

namespace {

// As many packets in a row make an alignment trusted.
constexpr std::size_t trustedPackets = 3;

// As many packets of an alignment are checked to see whether it lasts.
constexpr std::size_t comparedPackets = 16;

// Whether a header is valid: adaptation_field_control 00 is reserved.
bool HasPlausibleHeader(unsigned char const* packet) {
    return !ts_get_transporterror(packet) && (ts_has_payload(packet) || ts_has_adaptation(packet));
}

} // namespace

std::size_t PacketResync::First(std::size_t from) const {
    return Align(std::min(from, stream_.size()));
}

// Whether the data end at a position after packets in step: with a packet that is cut off, or with
// zeros.
bool PacketResync::DataEndAt(std::size_t position) const {
    auto const rest = stream_.subspan(position, std::min(tsPacketSize, stream_.size() - position));
    bool const cutPacket = rest.size() < tsPacketSize && !rest.empty() && rest[0] == tsSyncByte;
    return cutPacket || std::ranges::all_of(rest, [](unsigned char byte) { return byte == 0; });
}

// How many packets there are in step from a position on, at most as many as make it trusted.
std::size_t PacketResync::PacketsInStep(std::size_t position) const {
    std::size_t packets = 0;
    while (packets < trustedPackets && PacketAt(position + packets * tsPacketSize)) {
        ++packets;
    }
    return packets;
}

bool PacketResync::Trusted(std::size_t position) const {
    std::size_t const packets = PacketsInStep(position);
    return packets == trustedPackets ||
           (packets > 0 && DataEndAt(position + packets * tsPacketSize));
}

// Whether an alignment lasts. Bytes of the payload that equal the sync byte may be in step for some
// packets, but then are not, or have no valid header after them. A few damaged packets are allowed.
bool PacketResync::Lasts(std::size_t position) const {
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

// The position of the first sync byte in a range of the stream; `end` when there is none.
std::size_t PacketResync::FindSyncByte(std::size_t from, std::size_t end) const {
    void const* const found =
        from < end ? std::memchr(&stream_[from], tsSyncByte, end - from) : nullptr;
    return found == nullptr ? end
                            : static_cast<std::size_t>(static_cast<unsigned char const*>(found) -
                                                       stream_.data());
}

// The next packet, where the one that should begin at `lost` has no sync byte.
std::size_t PacketResync::Realign(std::size_t lost) const {
    if (lost >= stream_.size()) {
        return End();
    }
    if (PacketsInStep(lost + tsPacketSize) == trustedPackets) {
        return lost + tsPacketSize; // one damaged packet in an unchanged alignment
    }
    // Where bytes of the packet before are missing, the next one begins within its length.
    return Align(DataEndAt(lost) ? lost : lost - tsPacketSize + 1);
}

// The first packet, from a position on, whose alignment is trusted. Where bytes of the payload are
// in step too, several alignments begin within the length of a packet: one that lasts is preferred.
std::size_t PacketResync::Align(std::size_t from) const {
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
