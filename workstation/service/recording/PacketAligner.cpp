// Cuts the bytes of a source into transport stream packets.
#include "service/recording/PacketAligner.h"

#include <algorithm>
#include <cstring>

namespace workstation::service::recording {
namespace {

constexpr std::size_t bufferSize = 1024 * ts::tsPacketSize;

// More than PacketResync looks ahead, from the position that it is asked about, before it decides.
constexpr std::size_t lookAheadSize = 20 * ts::tsPacketSize;

// A decision is made about several packets at once. About three at least: where one has no sync
// byte and the next has, the alignment stands.
constexpr std::size_t decisionSize = 3 * ts::tsPacketSize;

static_assert(bufferSize > 2 * (lookAheadSize + decisionSize));

} // namespace

PacketAligner::PacketAligner()
    : buffer_(std::make_unique_for_overwrite<unsigned char[]>(bufferSize)) {}

std::span<unsigned char> PacketAligner::Room() {
    auto const pending = Pending();
    std::memmove(buffer_.get(), pending.data(), pending.size());
    end_ -= begin_;
    begin_ = 0;
    return {buffer_.get() + end_, bufferSize - end_};
}

std::span<unsigned char const> PacketAligner::Next() {
    if (!isInSync_ && IsDecidable()) {
        FindSync();
    }
    while (isInSync_) {
        if (std::size_t const size = SizeInStep(); size > 0) {
            return Give(size);
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

// The size of the pending packets that have the next one, or the end, in step behind them.
std::size_t PacketAligner::SizeInStep() const {
    auto const pending = Pending();
    std::size_t size = 0;
    while (size + ts::tsPacketSize < pending.size() &&
           pending[size + ts::tsPacketSize] == ts::tsSyncByte) {
        size += ts::tsPacketSize;
    }
    return hasEnded_ && size + ts::tsPacketSize == pending.size() ? pending.size() : size;
}

// Where enough bytes follow, in the pending ones, to tell whether a packet begins.
std::size_t PacketAligner::DecidableSize() const {
    std::size_t const size = Pending().size();
    if (hasEnded_) {
        return size;
    }
    return size - std::min(size, lookAheadSize);
}

bool PacketAligner::IsDecidable() const {
    return hasEnded_ || DecidableSize() >= decisionSize;
}

bool PacketAligner::IsTrusted(std::size_t position) const {
    auto const pending = Pending();
    std::size_t const second = position + ts::tsPacketSize;
    std::size_t const third = second + ts::tsPacketSize;
    return third < pending.size() && pending[position] == ts::tsSyncByte &&
           pending[second] == ts::tsSyncByte && pending[third] == ts::tsSyncByte;
}

// The first trusted packet, counting from one that the walk has given. The walk also trusts fewer
// packets when zeros or the end follow: too little to begin a recording with.
std::size_t PacketAligner::NextTrusted(ts::PacketResync const& walk, std::size_t position) const {
    std::size_t const end = DecidableSize();
    while (position < end && !IsTrusted(position)) {
        position = walk.First(position + ts::tsPacketSize);
    }
    return std::min(position, end);
}

// Goes on after the first pending packet, behind which no other one begins. Gives it out unless
// bytes are missing from it: then the next packet begins within its length.
std::span<unsigned char const> PacketAligner::HandleLoss() {
    ts::PacketResync const walk(Pending());
    std::size_t const next = NextTrusted(walk, walk.After(0));
    ++counts_.losses;
    isInSync_ = next < DecidableSize();
    if (next < ts::tsPacketSize) {
        Drop(next);
        return {};
    }
    auto const packet = Give(ts::tsPacketSize);
    Drop(next - ts::tsPacketSize);
    return packet;
}

void PacketAligner::FindSync() {
    ts::PacketResync const walk(Pending());
    std::size_t const next = NextTrusted(walk, walk.First(0));
    isInSync_ = next < DecidableSize();
    Drop(next);
}

std::span<unsigned char const> PacketAligner::Give(std::size_t size) {
    auto const packets = Pending().first(size);
    begin_ += size;
    counts_.packets += size / ts::tsPacketSize;
    return packets;
}

void PacketAligner::Drop(std::size_t size) {
    begin_ += size;
    counts_.droppedBytes += size;
}

} // namespace workstation::service::recording
