// Hands a recording to its target in blocks.
#pragma once

#include <optional>
#include <span>

#include "service/recording/RecordingClock.h"
#include "service/recording/RecordingTarget.h"
#include "service/recording/TickStamper.h"

namespace workstation::service::recording {

// Packets wait for others to be written with, but not for long: so that a block is worth its effort
// and a live stream is seen soon.
class BlockWriter {
public:
    using Time = RecordingClock::Time;

    BlockWriter(RecordingTarget& target, TickStamper stamper, RecordingClock& clock,
                StopEvent const& stop);

    // Takes the next packets of the recording, which begins with the first ones, and writes a block
    // when it is time to.
    void Add(std::span<unsigned char const> packets);

    // When packets have waited long enough; none when no packets wait.
    std::optional<Time> Due() const { return due_; }

    // Writes the packets that wait.
    void Flush();

    // Writes what waits, and gives the rest of the tick numbers back.
    void Complete();

    // Ends the recording if it has begun, also after a failure.
    void End();

private:
    RecordingTarget& target_;
    TickStamper stamper_;
    RecordingClock& clock_;
    StopEvent const& stop_;
    bool hasBegun_ = false;
    TickedBlock block_;
    std::optional<Time> due_;
};

} // namespace workstation::service::recording
