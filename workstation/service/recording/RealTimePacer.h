// Paces a file in real time: says when its packets are due, by their PCR.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "service/recording/RecordingClock.h"
#include "ts/PcrClock.h"

namespace workstation::service::recording {

// The first PCR is due at once, every other one as much later as it says. After a jump of the PCR,
// or when the stream is more than a second late, pacing starts again from there: the stream does
// not catch up. Packets of a stream without a PCR are due at once.
class RealTimePacer {
public:
    using Time = RecordingClock::Time;

    struct Block {
        std::size_t size; // in bytes, whole packets
        Time due;
    };

    // The packets that are due together: from the first one up to the next one with a PCR.
    // `packets` is not empty. The next call must begin directly after the block.
    Block Next(std::span<unsigned char const> packets, Time now);

private:
    ts::PcrClock pcr_;
    std::optional<Time> start_; // when the first PCR was due
};

} // namespace workstation::service::recording
