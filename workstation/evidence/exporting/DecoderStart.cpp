// Looks for the place before a tick from which a decoder can start.
#include "evidence/exporting/DecoderStart.h"

#include <algorithm>
#include <optional>

#include <bitstream/mpeg/ts.h>

#include "TsHelper.h"
#include "evidence/TimeGaps.h"
#include "evidence/exporting/ProgramTables.h"
#include "ts/PacketResync.h"
#include "ts/SystemTickPacket.h"

namespace workstation::evidence::exporting {
namespace {

using ts::tsPacketSize;

constexpr std::uint64_t furthest = 16U << 20U;
constexpr std::uint64_t blockSize = 256U << 10U;

// More than PacketResync looks ahead before it decides where a packet begins.
constexpr std::uint64_t lookAheadSize = 32 * tsPacketSize;

bool IsRandomAccessPoint(ts::TsPacketView packet) {
    return ts_has_adaptation(packet.data()) && ts_get_adaptation(packet.data()) > 0 &&
           tsaf_has_randomaccess(packet.data());
}

class BackwardSearch {
public:
    BackwardSearch(PoolSlots& slots, std::vector<int> const& chain, std::size_t link,
                   PlacedTick const& tick)
        : slots_(slots)
        , chain_(chain)
        , end_{link, tick.offset}
        , earliest_(end_)
        , earliestTick_(tick) {}

    // Null when there is no such place.
    std::optional<ChainPlace> Run();

private:
    // A packet of the PAT, or a random access point of a PID.
    struct Mark {
        ChainPlace place;
        std::uint16_t pid;
    };

    // What a block of a slot holds, after its last gap.
    struct Block {
        std::vector<Mark> marks;
        std::optional<PlacedTick> firstTick;
        std::optional<PlacedTick> lastTick;
        ProgramTables tables;
    };

    void TakeBlock(std::uint64_t begin);
    void TakePacket(Block& found, std::uint64_t offset, ts::TsPacketView packet);
    void Add(Block const& found);
    std::optional<ChainPlace> Start() const;

    PoolSlots& slots_;
    std::vector<int> const& chain_;
    ChainPlace end_;      // everything from here to the tick has been looked at
    ChainPlace earliest_; // of the first tick from `end_` on
    PlacedTick earliestTick_;
    bool hasGap_ = false;
    std::optional<std::uint16_t> leadingPid_;
    std::vector<Mark> marks_; // from the tick backwards
    std::vector<unsigned char> block_;
};

std::optional<ChainPlace> BackwardSearch::Run() {
    std::uint64_t looked = 0;
    while (!hasGap_ && looked < furthest) {
        if (end_.offset == 0) {
            if (end_.link == 0) {
                break;
            }
            --end_.link;
            end_.offset = slots_.At(chain_[end_.link]).Length();
            continue;
        }
        std::uint64_t const begin = end_.offset - std::min(blockSize, end_.offset);
        looked += end_.offset - begin;
        TakeBlock(begin);
        if (auto const start = Start()) {
            return start;
        }
    }
    return std::nullopt;
}

// Looks at the packets that begin in the slot from `begin` up to what has been looked at.
void BackwardSearch::TakeBlock(std::uint64_t begin) {
    OpenedSlot& slot = slots_.At(chain_[end_.link]);
    std::uint64_t const size = end_.offset - begin;
    end_.offset = begin;
    block_.resize(std::min(size + lookAheadSize, slot.Length() - begin));
    std::vector<Range> unreadable;
    slot.Read(begin, block_, unreadable);
    ts::PacketResync const packets(block_);
    Block found;
    for (auto place = packets.First(0); place < size; place = packets.After(place)) {
        TakePacket(found, begin + place,
                   std::span<unsigned char const>(block_).subspan(place).first<tsPacketSize>());
    }
    Add(found);
}

void BackwardSearch::TakePacket(Block& found, std::uint64_t offset, ts::TsPacketView packet) {
    if (ts_get_transporterror(packet.data())) {
        return;
    }
    std::uint16_t const pid = ts_get_pid(packet.data());
    if (auto const metadata = ts::DecodeSystemTick(packet, TsHelper::StreamSystickSystem)) {
        PlacedTick const tick{offset, metadata->tick, metadata->time};
        if (found.lastTick && IsGap(*found.lastTick, tick)) {
            found = {};
            hasGap_ = true;
        }
        found.firstTick = found.firstTick ? found.firstTick : tick;
        found.lastTick = tick;
    } else if (IsRandomAccessPoint(packet) || (pid == patPid && ts_get_unitstart(packet.data()))) {
        found.marks.push_back({{end_.link, offset}, pid});
    }
    found.tables.Take(packet);
}

// A gap may show only here, since the ticks on both sides of it are needed.
void BackwardSearch::Add(Block const& found) {
    if (found.lastTick && IsGap(*found.lastTick, earliestTick_)) {
        hasGap_ = true;
        std::erase_if(marks_, [&](Mark const& mark) { return mark.place.IsBefore(earliest_); });
        return;
    }
    marks_.insert(marks_.end(), found.marks.rbegin(), found.marks.rend());
    leadingPid_ = leadingPid_ ? leadingPid_ : found.tables.LeadingPid();
    if (found.firstTick) {
        earliestTick_ = *found.firstTick;
        earliest_ = {end_.link, found.firstTick->offset};
    }
}

std::optional<ChainPlace> BackwardSearch::Start() const {
    auto const point =
        std::ranges::find_if(marks_, [&](Mark const& mark) { return mark.pid == leadingPid_; });
    auto const pat =
        std::find_if(point, marks_.end(), [](Mark const& mark) { return mark.pid == patPid; });
    // Without a tick before it, a gap may follow it.
    bool const isSure =
        pat != marks_.end() && (!pat->place.IsBefore(earliest_) || end_ == ChainPlace{0, 0});
    return isSure ? std::optional(pat->place) : std::nullopt;
}

} // namespace

ChainPlace FindDecoderStart(PoolSlots& slots, std::vector<int> const& chain, std::size_t link,
                            PlacedTick const& tick) {
    auto const start = BackwardSearch(slots, chain, link, tick).Run();
    return start.value_or(ChainPlace{link, tick.offset});
}

} // namespace workstation::evidence::exporting
