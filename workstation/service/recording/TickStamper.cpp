// Puts system ticks into a recording.
#include "service/recording/TickStamper.h"

#include <bitstream/mpeg/ts.h>

#include <algorithm>

#include "ts/SystemTickPacket.h"

namespace workstation::service::recording {
namespace {

constexpr std::chrono::seconds longestLag(1);
constexpr std::chrono::milliseconds tickDistance(1000 / ts::TickInserter::usualRate);

// Ticks. More than can be due before one packet.
constexpr std::uint32_t reserve = 2 * ts::TickInserter::usualRate;
static_assert(reserve < TickStamper::reservationSize);

} // namespace

void TickStamper::Pass(std::span<unsigned char const> packets, WallTime now, TickedBlock& block) {
    if (!inserter_) {
        std::uint32_t const first = ticks_.ReserveTicks(reservationSize);
        reservedEnd_ = first + reservationSize;
        Start(first, now);
    } else if (restarts_ || NextTime() + longestLag < now) {
        Start(inserter_->NextTick().tick, std::max(now, NextTime()));
    }
    restarts_ = false;
    for (; !packets.empty(); packets = packets.subspan(ts::tsPacketSize)) {
        if (ts_get_pid(packets.data()) != ts::systemTickPid) {
            Append(packets.first<ts::tsPacketSize>(), block);
        }
    }
}

void TickStamper::ReturnRest() {
    if (inserter_) {
        ticks_.ReturnTicks(inserter_->NextTick().tick);
    }
}

void TickStamper::Start(std::uint32_t tick, WallTime now) {
    startTick_ = tick;
    startTime_ = now;
    auto const time = std::chrono::system_clock::to_time_t(now);
    inserter_.emplace(tick, static_cast<int>(time));
}

// The time of the next tick by the clock of the stream.
TickStamper::WallTime TickStamper::NextTime() const {
    std::uint32_t const passed = inserter_->NextTick().tick - startTick_;
    return startTime_ + passed * tickDistance;
}

void TickStamper::ReserveAhead() {
    if (reservedEnd_ - inserter_->NextTick().tick < reserve) {
        ticks_.ReserveTicks(reservationSize);
        reservedEnd_ += reservationSize;
    }
}

void TickStamper::Append(ts::TsPacketView packet, TickedBlock& block) {
    ReserveAhead();
    for (ts::InsertedTick const& tick : inserter_->Pass(packet, block.bytes)) {
        block.ticks.push_back({tick.offset, {tick.tick, tick.time}});
    }
}

} // namespace workstation::service::recording
