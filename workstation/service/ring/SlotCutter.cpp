// Cuts a recording at the ends of slots.
#include "service/ring/SlotCutter.h"

#include <algorithm>

namespace workstation::service::ring {
namespace {

std::optional<TickRange> RangeOf(std::span<recording::PlacedTick const> ticks) {
    if (ticks.empty()) {
        return std::nullopt;
    }
    return TickRange{ticks.front().stamp, ticks.back().stamp};
}

} // namespace

void SlotCutter::Write(recording::TickedPackets packets) {
    std::size_t begin = 0;
    while (begin < packets.bytes.size()) {
        isOpen_ = isOpen_ || (!isOver_ && sink_.OpenSlot());
        isOver_ = !isOpen_;
        if (isOver_) {
            return;
        }
        std::size_t const end = std::min(packets.bytes.size(), begin + sink_.Room());
        auto const firstAfter =
            std::ranges::lower_bound(packets.ticks, end, {}, &recording::PlacedTick::offset);
        auto const tickCount = static_cast<std::size_t>(firstAfter - packets.ticks.begin());
        sink_.WriteSlot(packets.bytes.subspan(begin, end - begin),
                        RangeOf(packets.ticks.first(tickCount)));
        packets.ticks = packets.ticks.subspan(tickCount);
        begin = end;
        if (sink_.Room() == 0) {
            Finish();
        }
    }
}

void SlotCutter::Finish() {
    if (isOpen_) {
        isOpen_ = false;
        sink_.CloseSlot();
    }
}

} // namespace workstation::service::ring
