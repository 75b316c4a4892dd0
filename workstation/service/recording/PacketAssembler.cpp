// Assembles the bytes of a source, as they arrive, into transport stream packets.
#include "service/recording/PacketAssembler.h"

#include <algorithm>
#include <cstring>

namespace workstation::service::recording {
namespace {

constexpr std::size_t bufferSize = ts::tsBlockSize;

// In bytes. More than PacketResync looks ahead of a position to decide about it.
constexpr std::size_t lookAheadSize = 20 * ts::tsPacketSize;

// In bytes. Decisions are made about at least three packets at once: a packet without a sync byte
// between packets that have one does not end the alignment.
constexpr std::size_t decisionSize = 3 * ts::tsPacketSize;

static_assert(bufferSize > 2 * (lookAheadSize + decisionSize));

} // namespace

PacketAssembler::PacketAssembler()
    : buffer_(std::make_unique_for_overwrite<unsigned char[]>(bufferSize)) {}

std::span<unsigned char> PacketAssembler::Room() {
    auto const pending = Pending();
    std::memmove(buffer_.get(), pending.data(), pending.size());
    end_ -= begin_;
    begin_ = 0;
    return {buffer_.get() + end_, bufferSize - end_};
}

std::span<unsigned char const> PacketAssembler::Next() {
    if (!isInSync_ && IsDecidable()) {
        FindSync();
    }
    while (isInSync_) {
        if (std::size_t const size = SizeInStep(); size > 0) {
            return TakeOut(size);
        }
        bool const seesNextPacket = Pending().size() > ts::tsPacketSize;
        if (!seesNextPacket) {
            if (hasEnded_) {
                endedInPacket_ = !Pending().empty();
                Drop(Pending().size());
            }
            return {};
        }
        if (!IsDecidable()) {
            return {};
        }
        if (auto const packet = HandleLoss(); !packet.empty()) {
            return packet;
        }
    }
    return {};
}

// The size of the pending packets that are followed directly by another packet or by the end.
std::size_t PacketAssembler::SizeInStep() const {
    auto const pending = Pending();
    std::size_t size = 0;
    while (size + ts::tsPacketSize < pending.size() &&
           pending[size + ts::tsPacketSize] == ts::tsSyncByte) {
        size += ts::tsPacketSize;
    }
    return hasEnded_ && size + ts::tsPacketSize == pending.size() ? pending.size() : size;
}

// How many pending bytes are followed by enough others to decide whether a packet begins there.
std::size_t PacketAssembler::DecidableSize() const {
    std::size_t const size = Pending().size();
    if (hasEnded_) {
        return size;
    }
    return size - std::min(size, lookAheadSize);
}

bool PacketAssembler::IsDecidable() const {
    return hasEnded_ || DecidableSize() >= decisionSize;
}

bool PacketAssembler::IsTrusted(std::size_t position) const {
    auto const pending = Pending();
    std::size_t const second = position + ts::tsPacketSize;
    std::size_t const third = second + ts::tsPacketSize;
    return third < pending.size() && pending[position] == ts::tsSyncByte &&
           pending[second] == ts::tsSyncByte && pending[third] == ts::tsSyncByte;
}

// The first trusted position from one on that the resync has returned. The resync also trusts fewer
// packets when zeros or the end follow, which is too little to begin a recording with.
std::size_t PacketAssembler::NextTrusted(ts::PacketResync const& resync,
                                         std::size_t position) const {
    std::size_t const end = DecidableSize();
    while (position < end && !IsTrusted(position)) {
        position = resync.First(position + ts::tsPacketSize);
    }
    return std::min(position, end);
}

// Continues after the first pending packet, which no other packet follows directly. Returns it
// unless bytes are missing from it: then the next packet begins within its 188 bytes.
std::span<unsigned char const> PacketAssembler::HandleLoss() {
    ts::PacketResync const resync(Pending());
    std::size_t const next = NextTrusted(resync, resync.After(0));
    ++counts_.losses;
    isInSync_ = next < DecidableSize();
    if (next < ts::tsPacketSize) {
        Drop(next);
        return {};
    }
    auto const packet = TakeOut(ts::tsPacketSize);
    Drop(next - ts::tsPacketSize);
    return packet;
}

void PacketAssembler::FindSync() {
    ts::PacketResync const resync(Pending());
    std::size_t const next = NextTrusted(resync, resync.First(0));
    isInSync_ = next < DecidableSize();
    Drop(next);
}

std::span<unsigned char const> PacketAssembler::TakeOut(std::size_t size) {
    auto const packets = Pending().first(size);
    begin_ += size;
    counts_.packets += size / ts::tsPacketSize;
    return packets;
}

void PacketAssembler::Drop(std::size_t size) {
    begin_ += size;
    counts_.droppedBytes += size;
}

} // namespace workstation::service::recording
