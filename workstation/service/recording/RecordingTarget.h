// Where a recording goes.
#pragma once

#include "service/recording/TickedPackets.h"

namespace workstation::service::recording {

// Called in the recording's thread. A function that throws a std::exception ends the recording; the
// text is logged. A function that waits, such as for space, returns with its work undone as soon as
// the recording is to stop.
class RecordingTarget {
public:
    virtual ~RecordingTarget() = default;

    // The recording begins, with its first good packet.
    virtual void Begin() = 0;

    // The next packets. The first packet of a recording is a tick.
    virtual void Write(TickedPackets const& packets) = 0;

    // The recording has ended. Called once after every Begin that has not thrown.
    virtual void End() = 0;
};

} // namespace workstation::service::recording
