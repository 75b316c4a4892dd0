// Walks over the packets of a transport stream that may be damaged anywhere.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "ts/TsPacket.h"

namespace workstation {

// Gives the offsets of the packets, in the order in which they stand.
//
// An alignment is trusted when a sync byte has two further ones at 188-byte steps, or when the
// data end before that and all packets up to their end are in step. Then the walk goes from packet
// to packet until a sync byte is missing. The data end where the stream ends, and where zeros
// follow for the length of a packet; what comes after such zeros is looked for like after any
// other damage.
class PacketWalk {
public:
    // Begins to look at byte offset `from`. The bytes of the stream must outlive the walk.
    PacketWalk(std::span<unsigned char const> stream, std::size_t from);

    // The offset of the next packet that lies whole in the stream; none when there is no other.
    std::optional<std::size_t> Next() {
        if (!PacketAt(next_) && !Realign()) {
            return std::nullopt;
        }
        std::size_t const packet = next_;
        next_ += tsPacketSize;
        return packet;
    }

private:
    bool PacketAt(std::size_t position) const {
        return position + tsPacketSize <= stream_.size() && stream_[position] == tsSyncByte;
    }
    bool DataEndAt(std::size_t position) const;
    std::size_t PacketsInStep(std::size_t position) const;
    bool Trusted(std::size_t position) const;
    bool Lasts(std::size_t position) const;
    std::size_t FindSyncByte(std::size_t from, std::size_t end) const;
    bool Realign();
    bool Align(std::size_t from);

    std::span<unsigned char const> stream_;
    std::size_t next_; // at most one packet past the end of the stream
};

} // namespace workstation
