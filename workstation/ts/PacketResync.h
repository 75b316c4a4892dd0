// Walks over the packets of a transport stream that may be damaged anywhere.
#pragma once

#include <cstddef>
#include <span>

#include "ts/TsPacket.h"

namespace workstation::ts {

// Gives the offsets of the packets, in the order in which they stand.
//
// An alignment is trusted when a sync byte has two further ones at 188-byte steps, or when the
// data end before that and all packets up to their end are in step. Then the walk goes from packet
// to packet until a sync byte is missing. The data end where the stream ends, and where zeros
// follow for the length of a packet; what comes after such zeros is looked for like after any
// other damage.
class PacketWalk {
public:
    // The bytes of the stream must outlive the walk.
    explicit PacketWalk(std::span<unsigned char const> stream)
        : stream_(stream) {}

    // The offset of the first packet that begins at byte offset `from` or later and lies whole in
    // the stream; End() when there is none.
    std::size_t First(std::size_t from) const;

    // The offset of the packet that comes after one which the walk has given; End() after the last.
    std::size_t After(std::size_t packet) const {
        std::size_t const next = packet + tsPacketSize;
        Prefetch(next + prefetchDistance);
        return PacketAt(next) ? next : Realign(next);
    }

    std::size_t End() const { return stream_.size(); }

private:
    // A walk over a large stream waits for memory at every packet unless it asks ahead.
    static constexpr std::size_t prefetchDistance = 32 * tsPacketSize;

    void Prefetch(std::size_t position) const {
        if (position < stream_.size()) {
            __builtin_prefetch(&stream_[position]);
        }
    }
    bool PacketAt(std::size_t position) const {
        return position + tsPacketSize <= stream_.size() && stream_[position] == tsSyncByte;
    }
    bool DataEndAt(std::size_t position) const;
    std::size_t PacketsInStep(std::size_t position) const;
    bool Trusted(std::size_t position) const;
    bool Lasts(std::size_t position) const;
    std::size_t FindSyncByte(std::size_t from, std::size_t end) const;
    std::size_t Realign(std::size_t lost) const;
    std::size_t Align(std::size_t from) const;

    std::span<unsigned char const> stream_;
};

} // namespace workstation::ts
