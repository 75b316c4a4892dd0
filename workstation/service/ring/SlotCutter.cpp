// Cuts a recording at the ends of slots.
#include "service/ring/SlotCutter.h"

#include <algorithm>

#include "ts/TsPacket.h"

namespace workstation::service::ring {

static_assert(pool::poolSlotSize % ts::tsPacketSize == 0);

void SlotCutter::Write(recording::TickedPackets packets) {
    std::size_t begin = 0;
    while (begin < packets.bytes.size()) {
        if (!slot_) {
            if (!sink_.OpenSlot()) {
                return;
            }
            slot_.emplace();
        }
        std::size_t const end = std::min(packets.bytes.size(), begin + slotSize_ - slot_->size);
        auto const firstAfter =
            std::ranges::lower_bound(packets.ticks, end, {}, &recording::PlacedTick::offset);
        auto const tickCount = static_cast<std::size_t>(firstAfter - packets.ticks.begin());
        Append(packets.bytes.subspan(begin, end - begin), packets.ticks.first(tickCount));
        packets.ticks = packets.ticks.subspan(tickCount);
        begin = end;
        if (slot_->size == slotSize_) {
            Finish();
        }
    }
}

void SlotCutter::Finish() {
    if (slot_) {
        SlotContents const contents = *slot_;
        slot_.reset();
        sink_.CloseSlot(contents);
    }
}

// A write that fails leaves the contents as they were.
void SlotCutter::Append(std::span<unsigned char const> bytes,
                        std::span<recording::PlacedTick const> ticks) {
    SlotContents contents = *slot_;
    contents.size += bytes.size();
    if (!ticks.empty()) {
        recording::TickStamp const first =
            contents.ticks ? contents.ticks->first : ticks.front().stamp;
        contents.ticks = TickRange{first, ticks.back().stamp};
    }
    sink_.WriteSlot(bytes, contents);
    slot_ = contents;
}

} // namespace workstation::service::ring
