// Makes a recording's thread stop, whatever it waits for.
#pragma once

#include <chrono>

#include "FileDescriptor.h"

namespace workstation::service::recording {

// Set once, by any thread, and then for good. Every wait of the recording also waits for it. All
// functions throw a Failure when a system call fails.
class StopEvent {
public:
    StopEvent();

    void Set();
    bool IsSet() const { return WaitFor(std::chrono::milliseconds(0)); }

    // Waits until the event is set, at most for `time`. True when it is set.
    bool WaitFor(std::chrono::milliseconds time) const;

    // For poll(2): readable when the event is set.
    int Descriptor() const { return descriptor_.Get(); }

private:
    FileDescriptor descriptor_;
};

} // namespace workstation::service::recording
