// Puts system ticks into a recording.
#include "service/recording/TickStamper.h"

#include <bitstream/mpeg/ts.h>

#include "TsHelper.h"
#include "ts/SystemTickPacket.h"

namespace workstation::service::recording {

void TickStamper::Pass(std::span<unsigned char const> packets, TickClock::Time now,
                       TickClock::WallTime wallNow, TickedBlock& block) {
    clock_.PacketsArrive(now, wallNow);
    for (; !packets.empty(); packets = packets.subspan(ts::tsPacketSize)) {
        auto const packet = packets.first<ts::tsPacketSize>();
        if (ts_get_pid(packet.data()) == ts::systemTickPid) {
            continue;
        }
        for (clock_.See(packet); clock_.IsDue();) {
            AppendTick(block);
        }
        block.bytes.insert(block.bytes.end(), packet.begin(), packet.end());
    }
}

void TickStamper::ReturnRest() {
    if (next_) {
        ticks_.ReturnTicks(*next_);
    }
}

void TickStamper::AppendTick(TickedBlock& block) {
    ReserveWhenUsedUp();
    TickStamp const stamp{*next_, clock_.Take()};
    block.ticks.push_back({block.bytes.size(), stamp});
    auto const packet = ts::EncodeSystemTick(TsHelper::StreamSystickSystem,
                                             {stamp.tick, stamp.time, {}}, continuityCounter_++);
    block.bytes.insert(block.bytes.end(), packet.begin(), packet.end());
    ++*next_;
}

void TickStamper::ReserveWhenUsedUp() {
    if (!next_) {
        next_ = ticks_.ReserveTicks(reservationSize);
        reservedEnd_ = *next_ + reservationSize;
    } else if (*next_ == reservedEnd_) {
        ticks_.ReserveTicks(reservationSize);
        reservedEnd_ += reservationSize;
    }
}

} // namespace workstation::service::recording
