// Makes a recording's thread stop, whatever it waits for.
#include "service/recording/StopEvent.h"

#include <sys/eventfd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "Deadline.h"
#include "Failure.h"

namespace workstation::service::recording {
namespace {

using supervision::Heartbeat;

Heartbeat::Time EndOfWait(int timeoutMs) {
    return timeoutMs < 0 ? Heartbeat::Time::max()
                         : Heartbeat::Clock::now() + std::chrono::milliseconds(timeoutMs);
}

} // namespace

StopEvent::StopEvent()
    : descriptor_(eventfd(0, EFD_CLOEXEC)) {
    if (!descriptor_) {
        throw SystemFailure("eventfd");
    }
}

void StopEvent::Set() {
    if (eventfd_write(descriptor_.Get(), 1) != 0) {
        throw SystemFailure("eventfd_write");
    }
}

bool StopEvent::WaitFor(std::chrono::milliseconds time) const {
    Deadline const deadline(static_cast<int>(time.count()));
    std::array<pollfd, 1> watched{};
    bool isSet = false;
    do {
        isSet = Poll(watched, deadline.RemainingMs());
    } while (!isSet && !deadline.Passed());
    return isSet;
}

bool StopEvent::Poll(std::span<pollfd> watched, int timeoutMs) const {
    watched[0] = {descriptor_.Get(), POLLIN, 0};
    heartbeat_.WaitsUntil(EndOfWait(timeoutMs));
    int const ready = poll(watched.data(), watched.size(), timeoutMs);
    int const error = errno;
    heartbeat_.Works();
    if (ready == -1 && error != EINTR) {
        throw Failure(error, std::strerror(error));
    }
    return ready > 0;
}

} // namespace workstation::service::recording
