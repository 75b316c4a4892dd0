// Finds ticks of a slot by their time, without reading the slot.
#include "evidence/TickSearch.h"

#include <algorithm>

#include "TsHelper.h"
#include "ts/PacketResync.h"
#include "ts/SystemTickPacket.h"

namespace workstation::evidence {
namespace {

using ts::tsPacketSize;

// Ticks of a stream of 10 Mbit/s are 62 KB apart.
constexpr std::uint64_t blockSize = 16384;

// More than PacketResync looks ahead before it decides where a packet begins.
constexpr std::uint64_t lookAheadSize = 32 * tsPacketSize;

} // namespace

// The first of these ticks whose time is not before `time`.
std::optional<PlacedTick> TickSearch::FirstOf(std::uint64_t from, std::uint64_t end,
                                              std::int64_t time) {
    block_.clear();
    std::vector<Range> unreadable;
    for (std::uint64_t begin = from; begin < end; begin += blockSize) {
        std::uint64_t const kept = block_.size();
        std::uint64_t const size =
            std::min(blockSize + lookAheadSize, slot_.Length() - begin); // at least what is kept
        block_.resize(size);
        slot_.Read(begin + kept, std::span(block_).subspan(kept), unreadable);
        ts::PacketResync const packets(block_);
        std::uint64_t const blockEnd = std::min(blockSize, end - begin);
        for (auto place = packets.First(0); place < std::min<std::uint64_t>(blockEnd, size);
             place = packets.After(place)) {
            auto const packet =
                std::span<unsigned char const>(block_).subspan(place).first<tsPacketSize>();
            auto const tick = ts::DecodeSystemTick(packet, TsHelper::StreamSystickSystem);
            if (tick && tick->time >= time) {
                return PlacedTick{begin + place, tick->tick, tick->time};
            }
        }
        block_.erase(block_.begin(),
                     block_.begin() + static_cast<std::ptrdiff_t>(std::min(blockSize, size)));
    }
    return std::nullopt;
}

std::optional<PlacedTick> TickSearch::FirstNotBefore(std::int64_t time, std::uint64_t from) {
    std::uint64_t low = from;            // every tick before it has a time before `time`
    std::uint64_t high = slot_.Length(); // every tick from here on is not before `found`
    std::optional<PlacedTick> before;
    std::optional<PlacedTick> found;
    while (high - low > blockSize) {
        std::uint64_t const middle = low + (high - low) / 2;
        auto const tick = First(middle, high);
        if (tick && tick->time < time) {
            before = tick;
            low = std::min(tick->offset + tsPacketSize, high);
        } else {
            found = tick ? tick : found;
            high = middle;
        }
        if (before && found && found->tick - before->tick == 1) {
            return found; // no tick is between them
        }
    }
    auto const last = FirstOf(low, high, time);
    return last ? last : found;
}

} // namespace workstation::evidence
