// Puts system ticks into a recording.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "service/recording/RecordingClock.h"
#include "service/recording/TickSource.h"
#include "service/recording/TickedPackets.h"
#include "ts/TickInserter.h"

namespace workstation::service::recording {

// Ticks carry reserved numbers and the time of day. The time is read at the first packet and then
// follows the clock of the stream. When it lags more than a second, as after a pause of the stream,
// it is read again. It never goes backwards. Ticks that the source itself contains are removed.
class TickStamper {
public:
    using WallTime = RecordingClock::WallTime;

    // How many numbers are reserved at a time: those of a minute.
    static constexpr std::uint32_t reservationSize = 60 * ts::TickInserter::usualRate;

    explicit TickStamper(TickSource& ticks)
        : ticks_(ticks) {}

    // Appends whole packets that arrived at `now`, and the ticks due before them, to `block`.
    void Pass(std::span<unsigned char const> packets, WallTime now, TickedBlock& block);

    // The next packets come from a source that was begun again: their clock is another one, and the
    // time is read again.
    void SourceRestarts() { restarts_ = true; }

    // Returns the reserved numbers that were not used. Pass must not be called afterwards.
    void ReturnRest();

private:
    void Start(std::uint32_t tick, WallTime now);
    WallTime NextTime() const;
    void ReserveAhead();
    void Append(ts::TsPacketView packet, TickedBlock& block);

    TickSource& ticks_;
    std::optional<ts::TickInserter> inserter_; // null before the first packet
    std::uint32_t startTick_ = 0;              // of the inserter
    WallTime startTime_;                       // of the inserter
    std::uint32_t reservedEnd_ = 0;            // the first number that is not reserved
    bool restarts_ = false;                    // the source was begun again
};

} // namespace workstation::service::recording
