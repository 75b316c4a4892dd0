// The signals for the service, as a descriptor that poll(2) can wait for.
#pragma once

#include <csignal>
#include <optional>

#include "FileDescriptor.h"

namespace workstation::service {

// While the object lives, SIGINT, SIGTERM and SIGHUP are blocked and stay pending until they are
// taken. Make it before any thread is started: threads inherit the signal mask.
class SignalWatch {
public:
    // Throws a Failure.
    SignalWatch();
    ~SignalWatch();

    SignalWatch(SignalWatch const&) = delete;
    SignalWatch& operator=(SignalWatch const&) = delete;

    // For poll(2): readable while a signal is pending.
    int Descriptor() const { return descriptor_.Get(); }

    // Takes a pending signal, if there is one. Never blocks.
    std::optional<int> Take();

private:
    sigset_t former_;
    FileDescriptor descriptor_;
};

} // namespace workstation::service
