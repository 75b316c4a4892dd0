// Cuts the bytes of a source into transport stream packets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "ts/PacketResync.h"

namespace workstation::service::recording {

struct AlignmentCounts {
    std::uint64_t packets = 0;      // given out
    std::uint64_t droppedBytes = 0; // everything else
    std::uint64_t losses = 0;       // how often sync was lost

    AlignmentCounts operator+(AlignmentCounts const& other) const {
        return {packets + other.packets, droppedBytes + other.droppedBytes, losses + other.losses};
    }
    bool operator==(AlignmentCounts const&) const = default;
};

// Takes the bytes as they come, in pieces of any size, and gives out whole packets in step. An
// alignment is trusted when a sync byte has two further ones at 188-byte steps; PacketResync's
// rules tell between several of them. A packet is given out when the next one follows it in step,
// when the source ends behind it, or when no other begins within it. What is no such packet is
// dropped.
//
// The packets are not copied: they lie in the aligner's buffer, which never grows.
class PacketAligner {
public:
    PacketAligner();

    // Where the next bytes of the source go. Never empty once Next has given out all it can. The
    // packets that it gave out are gone then.
    std::span<unsigned char> Room();

    // Says that the first `size` bytes of the room are filled.
    void Filled(std::size_t size) { end_ += size; }

    // Says that the source has ended.
    void End() { hasEnded_ = true; }

    // The next packets that stand side by side in the source; none when it takes more bytes to
    // tell, or at the end.
    std::span<unsigned char const> Next();

    // Whether the bytes seen last belong to packets.
    bool InSync() const { return isInSync_; }

    // Whether the source has ended within a packet.
    bool EndedInPacket() const { return endedInPacket_; }

    AlignmentCounts const& Counts() const { return counts_; }

private:
    std::span<unsigned char const> Pending() const {
        return {buffer_.get() + begin_, end_ - begin_};
    }
    std::size_t SizeInStep() const;
    std::size_t DecidableSize() const;
    bool IsDecidable() const;
    bool IsTrusted(std::size_t position) const;
    std::size_t NextTrusted(ts::PacketResync const& walk, std::size_t position) const;
    std::span<unsigned char const> HandleLoss();
    void FindSync();
    std::span<unsigned char const> Give(std::size_t size);
    void Drop(std::size_t size);

    std::unique_ptr<unsigned char[]> buffer_;
    std::size_t begin_ = 0; // of the bytes that are pending: neither given out nor dropped
    std::size_t end_ = 0;
    bool hasEnded_ = false;
    bool isInSync_ = false; // the pending bytes begin with a packet
    bool endedInPacket_ = false;
    AlignmentCounts counts_;
};

} // namespace workstation::service::recording
