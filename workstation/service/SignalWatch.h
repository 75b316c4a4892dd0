// The signals that end the service, as something that can be waited for.
#pragma once

#include <csignal>
#include <optional>

#include "FileDescriptor.h"

namespace workstation::service {

// While the object lives, SIGINT and SIGTERM no longer interrupt the process: they wait to be
// taken. Made before any thread, so that every thread leaves them alone.
class SignalWatch {
public:
    SignalWatch();
    ~SignalWatch();

    SignalWatch(SignalWatch const&) = delete;
    SignalWatch& operator=(SignalWatch const&) = delete;

    // For poll(2): readable when a signal has come.
    int Descriptor() const { return descriptor_.Get(); }

    // The signal that has come; none when there is none. Never blocks.
    std::optional<int> Take();

private:
    sigset_t former_;
    FileDescriptor descriptor_;
};

} // namespace workstation::service
