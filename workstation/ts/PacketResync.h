// Finds the packets of a transport stream and resynchronises after damage.
#pragma once

#include <cstddef>
#include <span>

#include "ts/TsPacket.h"

namespace workstation::ts {

// Gives the offsets of the packets, in their order.
//
// An alignment is trusted when a sync byte is followed by two more at 188-byte steps, or when the
// data end before that and every packet up to their end begins with a sync byte. Then each packet
// follows the one before until a sync byte is missing. The data end where the stream ends, and
// where zeros follow for the length of a packet; what comes after such zeros is searched like after
// any other damage.
class PacketResync {
public:
    // The bytes of the stream must outlive the object.
    explicit PacketResync(std::span<unsigned char const> stream)
        : stream_(stream) {}

    // The offset of the first complete packet that begins at byte offset `from` or later; End()
    // when there is none.
    std::size_t First(std::size_t from) const;

    // The offset of the packet after one that First or After returned; End() after the last.
    std::size_t After(std::size_t packet) const {
        std::size_t const next = packet + tsPacketSize;
        Prefetch(next + prefetchDistance);
        return PacketAt(next) ? next : Realign(next);
    }

    std::size_t End() const { return stream_.size(); }

private:
    // Without prefetching, a scan of a large stream waits for memory at every packet.
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
