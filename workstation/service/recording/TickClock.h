// When the system ticks of a recording are due, and which time they carry.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "service/recording/RecordingClock.h"
#include "service/recording/TimeOfDay.h"
#include "ts/PcrClock.h"
#include "ts/TickInserter.h"

namespace workstation::service::recording {

// The clock of the stream, its PCR, says between which packets a tick stands. The clock of the
// recorder says how many ticks there are: the stream's clock is slewed towards it, by at most 5 %,
// and held within a second of it. So a camera's clock may drift, and it may deliver too much at
// once.
class TickClock {
public:
    using Time = RecordingClock::Time;
    using WallTime = RecordingClock::WallTime;

    // For a file that is read as fast as it can be: the clock of the stream is not slewed, and says
    // the times of the ticks too. To be called before the first packets.
    void FollowStream() { followsStream_ = true; }

    // The next packets arrive. After a pause of more than a second, a tick is due before them, and
    // there are no ticks for the pause.
    void PacketsArrive(Time now, WallTime wallNow);

    // The next packets come from a source that was begun again: a tick is due before them, and
    // their PCR is another one.
    void SourceRestarts() { restarts_ = true; }

    // To be called for every packet that has arrived. Then the ticks before it are to be taken.
    void See(ts::TsPacketView packet);

    // Whether a tick is due before the packet seen last.
    bool IsDue() const { return next_ <= stream_; }

    // Takes the tick that is due. Returns its time, in seconds since the epoch, which never goes
    // back: when the packets arrived.
    int Take();

private:
    using Units = std::chrono::duration<std::int64_t, std::ratio<1, ts::PcrClock::unitsPerSecond>>;

    static constexpr Units tickDistance{ts::PcrClock::unitsPerSecond / ts::TickInserter::usualRate};

    void Restart();

    bool followsStream_ = false;
    TimeOfDay timeOfDay_;
    std::optional<Time> origin_; // of all times in units; null before the first packet
    bool restarts_ = true;
    ts::PcrClock pcr_;

    Units now_{};    // when the packets arrived
    Units lag_{};    // of the stream's clock, when the packets before had been seen
    Units stream_{}; // the clock of the stream
    Units next_{};   // when the next tick is due

    WallTime arrival_;     // the time of day when the packets arrived
    Units restart_{};      // when the ticks began, or began again
    WallTime restartTime_; // the time of day then, in whole seconds
    WallTime last_;        // the time of the last tick
};

} // namespace workstation::service::recording
