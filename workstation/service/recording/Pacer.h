// Gives a transport stream the speed at which it is meant to be played.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "service/recording/RecordingClock.h"
#include "ts/PcrClock.h"

namespace workstation::service::recording {

// Says when packets are due, by their PCR. The first PCR is due at once. Where the PCR jumps, and
// where the stream is late, there is no waiting and no catching up: it goes on from there. Packets
// without any PCR are due at once.
class Pacer {
public:
    using Time = RecordingClock::Time;

    struct Block {
        std::size_t size; // in bytes, whole packets
        Time due;
    };

    // The packets that are due together, from the first one up to the next with a PCR. `packets`
    // is not empty; the next call goes on behind the block.
    Block Next(std::span<unsigned char const> packets, Time now);

private:
    ts::PcrClock pcr_;
    std::optional<Time> start_; // when the first PCR was due
};

} // namespace workstation::service::recording
