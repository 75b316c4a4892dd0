// Adds system ticks to a transport stream as it passes.
#include "ts/TickInserter.h"

#include <utility>

#include "TsHelper.h"
#include "ts/SystemTickPacket.h"

namespace workstation::ts {

TickInserter::TickInserter(TickNumbering numbering, int time, unsigned int rate)
    : numbering_(std::move(numbering))
    , time_(time)
    , rate_(rate) {}

void TickInserter::Pass(TsPacketView packet, std::vector<unsigned char>& out) {
    for (clock_.See(packet); NextTickIsDue(); ++next_) {
        if (!numbering_.IsLeftOut(next_)) {
            auto const tick =
                EncodeSystemTick(TsHelper::StreamSystickSystem, NextTick(), continuityCounter_++);
            out.insert(out.end(), tick.begin(), tick.end());
        }
    }
    out.insert(out.end(), packet.begin(), packet.end());
}

StreamMetadata TickInserter::NextTick() const {
    // Times wrap where a signed 32-bit time does.
    auto const time = static_cast<std::uint32_t>(time_) + static_cast<std::uint32_t>(next_ / rate_);
    return {numbering_.Number(next_), static_cast<int>(time), {}};
}

bool TickInserter::NextTickIsDue() const {
    return next_ * PcrClock::unitsPerSecond <= clock_.Elapsed() * rate_;
}

} // namespace workstation::ts
