// The first and the last tick of a slot.
#include "evidence/SlotEnds.h"

#include <algorithm>
#include <span>
#include <vector>

#include "TsHelper.h"
#include "ts/PacketResync.h"
#include "ts/SystemTickPacket.h"

namespace workstation::evidence {
namespace {

using ts::tsPacketSize;

// Whole packets: in a sound slot a packet begins at each of these steps.
constexpr std::uint64_t firstBlockSize = 64 * tsPacketSize;
constexpr std::uint64_t largestBlockSize = 4096 * tsPacketSize;

// More than PacketResync looks ahead before it decides where a packet begins.
constexpr std::uint64_t lookAheadSize = 32 * tsPacketSize;

// The ticks whose packets begin in a block, the first or the last of them.
class TickBlocks {
public:
    explicit TickBlocks(SlotReader& slot)
        : slot_(slot) {}

    std::optional<PlacedTick> First(std::uint64_t begin, std::uint64_t end) {
        return Find(begin, end, false);
    }
    std::optional<PlacedTick> Last(std::uint64_t begin, std::uint64_t end) {
        return Find(begin, end, true);
    }

private:
    std::optional<PlacedTick> Find(std::uint64_t begin, std::uint64_t end, bool wantsLast);

    SlotReader& slot_;
    std::vector<unsigned char> bytes_;
    std::vector<Range> unreadable_;
};

std::optional<PlacedTick> TickBlocks::Find(std::uint64_t begin, std::uint64_t end, bool wantsLast) {
    if (slot_.NextData(begin) >= end) {
        return std::nullopt;
    }
    bytes_.resize(static_cast<std::size_t>(std::min(end + lookAheadSize, slot_.Length()) - begin));
    unreadable_.clear();
    slot_.Read(begin, bytes_, unreadable_);
    std::span<unsigned char const> const bytes = bytes_;
    ts::PacketResync const packets(bytes);
    std::optional<PlacedTick> found;
    for (auto place = packets.First(0); place < end - begin && place != packets.End();
         place = packets.After(place)) {
        auto const packet = bytes.subspan(place).first<tsPacketSize>();
        if (!ts::HasSystemTickHeader(packet)) {
            continue;
        }
        if (auto const tick = ts::DecodeSystemTick(packet, TsHelper::StreamSystickSystem)) {
            found = {begin + place, tick->tick, tick->time};
            if (!wantsLast) {
                break;
            }
        }
    }
    return found;
}

std::uint64_t Grown(std::uint64_t size) {
    return std::min(2 * size, largestBlockSize);
}

std::optional<PlacedTick> FindFirst(TickBlocks& blocks, std::uint64_t begin, std::uint64_t end) {
    for (std::uint64_t size = firstBlockSize; begin < end; begin += size, size = Grown(size)) {
        if (auto const tick = blocks.First(begin, std::min(begin + size, end))) {
            return tick;
        }
    }
    return std::nullopt;
}

// There is a tick at `first`.
std::optional<PlacedTick> FindLast(TickBlocks& blocks, std::uint64_t first, std::uint64_t length) {
    std::uint64_t size = firstBlockSize;
    std::uint64_t end = length;
    while (end > first) {
        std::uint64_t const aligned = (end - std::min(size, end)) / tsPacketSize * tsPacketSize;
        std::uint64_t const begin = std::max(aligned, first);
        if (auto const tick = blocks.Last(begin, end)) {
            return tick;
        }
        end = begin;
        size = Grown(size);
    }
    return std::nullopt;
}

} // namespace

std::optional<SlotEnds> FindSlotEnds(SlotReader& slot) {
    TickBlocks blocks(slot);
    auto const first = FindFirst(blocks, 0, slot.Length());
    if (!first) {
        return std::nullopt;
    }
    auto const last = FindLast(blocks, first->offset, slot.Length());
    return SlotEnds{*first, last.value_or(*first)};
}

std::optional<PlacedTick> FirstTickIn(SlotReader& slot, std::uint64_t begin, std::uint64_t end) {
    TickBlocks blocks(slot);
    return FindFirst(blocks, begin, end);
}

} // namespace workstation::evidence
