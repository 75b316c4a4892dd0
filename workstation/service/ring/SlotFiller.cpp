// Fills the slots of the pool with a recording, to the packet.
#include "service/ring/SlotFiller.h"

#include <algorithm>

#include "ts/TsPacket.h"

namespace workstation::service::ring {

static_assert(pool::poolSlotSize % ts::tsPacketSize == 0);

void SlotFiller::Write(recording::TickedPackets packets, recording::StopEvent const& stop) {
    std::size_t begin = 0;
    while (begin < packets.bytes.size()) {
        if (!slot_) {
            if (!sink_.OpenSlot(stop)) {
                return;
            }
            slot_.emplace();
        }
        std::size_t const end = std::min(packets.bytes.size(), begin + slotSize_ - slot_->size);
        auto const behind =
            std::ranges::lower_bound(packets.ticks, end, {}, &recording::PlacedTick::offset);
        auto const tickCount = static_cast<std::size_t>(behind - packets.ticks.begin());
        Append(packets.bytes.subspan(begin, end - begin), packets.ticks.first(tickCount));
        packets.ticks = packets.ticks.subspan(tickCount);
        begin = end;
        if (slot_->size == slotSize_) {
            Finish();
        }
    }
}

void SlotFiller::Finish() {
    if (slot_) {
        SlotContents const contents = *slot_;
        slot_.reset();
        sink_.CloseSlot(contents);
    }
}

// What the slot holds is known only once it has been written.
void SlotFiller::Append(std::span<unsigned char const> bytes,
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
