// The starts and stops of recordings, on their way from the recordings' threads to the thread that
// notifies subscribers.
#include "service/StartStopQueue.h"

#include <sys/eventfd.h>

#include <utility>

#include "Failure.h"

namespace workstation::service {

StartStopQueue::StartStopQueue()
    : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!event_) {
        throw SystemFailure("eventfd");
    }
}

void StartStopQueue::Post(StartOrStop startOrStop) {
    std::lock_guard const lock(mutex_);
    posted_.push_back(std::move(startOrStop));
    Wake();
}

void StartStopQueue::Wake() {
    eventfd_write(event_.Get(), 1);
}

std::vector<StartOrStop> StartStopQueue::Take() {
    std::lock_guard const lock(mutex_);
    eventfd_t count = 0;
    eventfd_read(event_.Get(), &count);
    return std::exchange(posted_, {});
}

} // namespace workstation::service
