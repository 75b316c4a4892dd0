// Assembles the bytes of a source, as they arrive, into transport stream packets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "ts/PacketResync.h"

namespace workstation::service::recording {

struct SyncCounts {
    std::uint64_t packets = 0;      // returned
    std::uint64_t droppedBytes = 0; // all other bytes
    std::uint64_t losses = 0;       // how often sync was lost

    SyncCounts operator+(SyncCounts const& other) const {
        return {packets + other.packets, droppedBytes + other.droppedBytes, losses + other.losses};
    }
    bool operator==(SyncCounts const&) const = default;
};

// Takes the bytes as they arrive, in pieces of any size, and returns whole packets. A position is
// trusted to begin a packet when it and the next two at 188-byte steps have a sync byte; if several
// positions are trusted, the rules of PacketResync decide. A packet is returned when the next one
// follows directly, when the source ends after it, or when no other packet begins within it. All
// other bytes are dropped.
//
// The packets are not copied: they lie in this object's buffer, which never grows.
class PacketAssembler {
public:
    PacketAssembler();

    // Where the next bytes of the source are to be written. Invalidates the packets that Next has
    // returned. Not empty if Next was called before until it returned nothing.
    std::span<unsigned char> Room();

    // The first `size` bytes of the room have been written.
    void Filled(std::size_t size) { end_ += size; }

    // The source has ended.
    void End() { hasEnded_ = true; }

    // The next packets that are adjacent in the source. Empty when more bytes are needed to decide,
    // and at the end.
    std::span<unsigned char const> Next();

    // Whether the last bytes belong to packets.
    bool InSync() const { return isInSync_; }

    // Whether the source has ended inside a packet.
    bool EndedInPacket() const { return endedInPacket_; }

    SyncCounts const& Counts() const { return counts_; }

private:
    std::span<unsigned char const> Pending() const {
        return {buffer_.get() + begin_, end_ - begin_};
    }
    std::size_t SizeInStep() const;
    std::size_t DecidableSize() const;
    bool IsDecidable() const;
    bool IsTrusted(std::size_t position) const;
    std::size_t NextTrusted(ts::PacketResync const& resync, std::size_t position) const;
    std::span<unsigned char const> HandleLoss();
    void FindSync();
    std::span<unsigned char const> TakeOut(std::size_t size);
    void Drop(std::size_t size);

    std::unique_ptr<unsigned char[]> buffer_;
    std::size_t begin_ = 0; // of the pending bytes: neither returned nor dropped
    std::size_t end_ = 0;
    bool hasEnded_ = false;
    bool isInSync_ = false; // the pending bytes begin with a packet
    bool endedInPacket_ = false;
    SyncCounts counts_;
};

} // namespace workstation::service::recording
