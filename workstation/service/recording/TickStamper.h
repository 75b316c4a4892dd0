// Puts system ticks into a recording.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "service/recording/RecordingClock.h"
#include "service/recording/RecordingTarget.h"
#include "ts/TickInserter.h"

namespace workstation::service::recording {

// Ticks bear reserved numbers and the time of day. That is taken at the first packet and counts on
// with the stream; where that falls more than a second behind, as in a pause of the stream, it is
// set right by the time of day. It never goes backwards. Ticks that the source has already are left
// out.
class TickStamper {
public:
    using WallTime = RecordingClock::WallTime;

    // How many numbers are reserved at a time: a minute of them.
    static constexpr std::uint32_t reservationSize = 60 * ts::TickInserter::usualRate;

    TickStamper(TickSource& ticks, int stream)
        : ticks_(ticks)
        , stream_(stream) {}

    // Appends whole packets that came at `now` to `block`, with ticks.
    void Pass(std::span<unsigned char const> packets, WallTime now, TickedBlock& block);

    // Gives back the numbers that were reserved and not used. No Pass may follow.
    void ReturnRest();

private:
    void Start(std::uint32_t tick, WallTime now);
    bool IsLate(WallTime now) const;
    void ReserveAhead();
    void Append(ts::TsPacketView packet, TickedBlock& block);

    TickSource& ticks_;
    int stream_;
    std::optional<ts::TickInserter> inserter_; // none before the first packet
    std::uint32_t startTick_ = 0;              // of the inserter
    WallTime startTime_;                       // of the inserter
    std::uint32_t reservedEnd_ = 0;            // the first number that is not reserved
};

} // namespace workstation::service::recording
