// Collects the packets of a recording and writes them to its target in blocks.
#pragma once

#include <optional>
#include <span>

#include "service/recording/RecordingClock.h"
#include "service/recording/RecordingTarget.h"
#include "service/recording/TickStamper.h"

namespace workstation::service::recording {

// A block is written when it has 1,024 packets, or when its first packet has waited for 100 ms: few
// writes, and a live stream is seen soon.
class BlockWriter {
public:
    using Time = RecordingClock::Time;

    BlockWriter(RecordingTarget& target, TickStamper const& stamper, RecordingClock& clock);

    // Takes the next packets, and writes a block when one is due. The first call begins the
    // recording.
    void Add(std::span<unsigned char const> packets);

    // Ticks follow the clock of the stream alone. To be called before the first packets.
    void FollowStream() { stamper_.FollowStream(); }

    // The next packets come from a source that was begun again.
    void SourceRestarts() { stamper_.SourceRestarts(); }

    // When the packets that wait are due; null when no packets wait.
    std::optional<Time> Due() const { return due_; }

    // Writes the packets that wait.
    void Flush();

    // Writes the packets that wait, and returns the tick numbers that were not used.
    void Complete();

    // Ends the recording if it has begun, also after a failure.
    void End();

private:
    RecordingTarget& target_;
    TickStamper stamper_;
    RecordingClock& clock_;
    bool hasBegun_ = false;
    TickedBlock block_;
    std::optional<Time> due_;
};

} // namespace workstation::service::recording
