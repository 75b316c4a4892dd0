// What a recording needs from the service around it.
#pragma once

#include <cstdint>

#include "service/recording/StopEvent.h"
#include "service/recording/TickedPackets.h"

namespace workstation::service::recording {

// Where a recording goes. Called in the recorder's thread. An operation that cannot be carried out
// throws a std::exception, whose text is logged: the recording ends. One that has to wait, such as
// for space, returns as soon as `stop` is set, with its work undone.
class RecordingTarget {
public:
    virtual ~RecordingTarget() = default;

    // The first good packet has come.
    virtual void Begin(StopEvent const& stop) = 0;

    // The next packets. The first of all is a tick.
    virtual void Write(TickedPackets const& packets, StopEvent const& stop) = 0;

    // Nothing more will come. Follows every Begin that has not thrown.
    virtual void End() = 0;
};

// Where the numbers of system ticks come from. Called in the recorders' threads; throws a
// std::exception when it cannot do what it is asked.
class TickSource {
public:
    virtual ~TickSource() = default;

    // Reserves the `count` values that follow those reserved for the stream before, and returns the
    // first. They stay reserved whatever becomes of the process.
    virtual std::uint32_t ReserveTicks(int stream, std::uint32_t count) = 0;

    // Gives the stream's reserved values back from `next` on: they have not been used.
    virtual void ReturnTicks(int stream, std::uint32_t next) = 0;
};

} // namespace workstation::service::recording
