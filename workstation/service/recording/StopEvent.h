// Tells a thread to stop, whatever it is waiting for.
#pragma once

#include <chrono>

#include "FileDescriptor.h"

namespace workstation::service::recording {

// Set once, by any thread, and then for good. Whoever waits for something else waits for this too.
class StopEvent {
public:
    StopEvent();

    void Set();
    bool IsSet() const { return WaitFor(std::chrono::milliseconds(0)); }

    // Waits for at most that long. True as soon as the event is set.
    bool WaitFor(std::chrono::milliseconds time) const;

    // For poll(2): readable when the event is set.
    int Descriptor() const { return descriptor_.Get(); }

private:
    FileDescriptor descriptor_;
};

} // namespace workstation::service::recording
