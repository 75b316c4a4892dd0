// Makes a recording's thread stop, whatever it waits for.
#pragma once

#include <poll.h>

#include <chrono>
#include <span>

#include "FileDescriptor.h"
#include "service/supervision/Heartbeat.h"

namespace workstation::service::recording {

// Set once, by any thread, and then for good. Every wait of the recording also waits for it. All
// functions throw a Failure when a system call fails.
//
// It is also what shows that the thread is not stuck. The thread looks at the event at least once
// for every block that it writes, and whenever it waits: for a source that is silent, for a file in
// a pool that is full, for the next try when the disk has failed. So a thread that has not looked
// for long hangs in a call of the system, and could not be stopped either.
class StopEvent {
public:
    StopEvent();

    void Set();

    // --- For the recording's thread ---

    bool IsSet() const { return WaitFor(std::chrono::milliseconds(0)); }

    // Waits until the event is set, at most for `time`. True when it is set.
    bool WaitFor(std::chrono::milliseconds time) const;

    // As poll(2): waits until the event is set, which takes the first place in `watched`, or
    // something else happens in the others; -1: without limit. False after the time, and when a
    // signal has ended the wait.
    bool Poll(std::span<pollfd> watched, int timeoutMs) const;

    // The thread has ended: it does not look at the event any more.
    void ThreadEnds() const { heartbeat_.Rests(); }

    // --- For other threads ---

    supervision::Heartbeat const& ThreadsHeartbeat() const { return heartbeat_; }

private:
    FileDescriptor descriptor_;
    mutable supervision::Heartbeat heartbeat_;
};

} // namespace workstation::service::recording
