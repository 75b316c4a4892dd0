// Makes a recording's thread stop, whatever it waits for.
#include "service/recording/StopEvent.h"

#include <poll.h>
#include <sys/eventfd.h>

#include "Deadline.h"
#include "Failure.h"

namespace workstation::service::recording {

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
    pollfd event{descriptor_.Get(), POLLIN, 0};
    int ready = -1;
    do {
        ready = poll(&event, 1, deadline.RemainingMs());
    } while (ready == -1 && errno == EINTR);
    if (ready == -1) {
        throw SystemFailure("poll");
    }
    return ready == 1;
}

} // namespace workstation::service::recording
