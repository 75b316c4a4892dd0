// Inserts system ticks into a transport stream while it is read.
#include "ts/TickInserter.h"

#include <utility>

#include "TsHelper.h"
#include "ts/SystemTickPacket.h"

namespace workstation::ts {

TickInserter::TickInserter(TickGaps numbers, int time, unsigned int rate)
    : numbers_(std::move(numbers))
    , time_(time)
    , rate_(rate) {}

std::span<InsertedTick const> TickInserter::Pass(TsPacketView packet,
                                                 std::vector<unsigned char>& out) {
    inserted_.clear();
    for (clock_.See(packet); NextTickIsDue(); ++next_) {
        if (!numbers_.IsLeftOut(next_)) {
            Append(NextTick(), out);
        }
    }
    out.insert(out.end(), packet.begin(), packet.end());
    return inserted_;
}

void TickInserter::Append(StreamMetadata const& tick, std::vector<unsigned char>& out) {
    inserted_.push_back({out.size(), tick.tick, tick.time});
    auto const packet = EncodeSystemTick(TsHelper::StreamSystickSystem, tick, continuityCounter_++);
    out.insert(out.end(), packet.begin(), packet.end());
}

StreamMetadata TickInserter::NextTick() const {
    // Times wrap where a signed 32-bit time does.
    auto const time = static_cast<std::uint32_t>(time_) + static_cast<std::uint32_t>(next_ / rate_);
    return {numbers_.Number(next_), static_cast<int>(time), {}};
}

bool TickInserter::NextTickIsDue() const {
    return next_ * PcrClock::unitsPerSecond <= clock_.Elapsed() * rate_;
}

} // namespace workstation::ts
