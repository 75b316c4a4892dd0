// Puts system ticks into a recording.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "service/recording/TickClock.h"
#include "service/recording/TickSource.h"
#include "service/recording/TickedPackets.h"
#include "ts/TickInserter.h"

namespace workstation::service::recording {

// Ticks carry reserved numbers without a gap, and the times of the clock. Ticks that the source
// itself contains are removed.
class TickStamper {
public:
    // How many numbers are reserved at a time: those of a minute.
    static constexpr std::uint32_t reservationSize = 60 * ts::TickInserter::usualRate;

    explicit TickStamper(TickSource& ticks)
        : ticks_(ticks) {}

    // Appends whole packets that arrive now, and the ticks due before them, to `block`.
    void Pass(std::span<unsigned char const> packets, TickClock::Time now,
              TickClock::WallTime wallNow, TickedBlock& block);

    // Ticks follow the clock of the stream alone. To be called before the first packets.
    void FollowStream() { clock_.FollowStream(); }

    // The next packets come from a source that was begun again.
    void SourceRestarts() { clock_.SourceRestarts(); }

    // Returns the reserved numbers that were not used. Pass must not be called afterwards.
    void ReturnRest();

private:
    void ReserveWhenUsedUp();
    void AppendTick(TickedBlock& block);

    TickSource& ticks_;
    TickClock clock_;
    std::optional<std::uint32_t> next_;  // the next number; null before the first packet
    std::uint32_t reservedEnd_ = 0;      // the first number that is not reserved
    unsigned int continuityCounter_ = 0; // of the next tick's packet
};

} // namespace workstation::service::recording
