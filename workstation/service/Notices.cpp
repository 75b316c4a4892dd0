// What the recording threads have to tell the thread that serves requests.
#include "service/Notices.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace workstation::service {

Notices::Notices()
    : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!event_) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

void Notices::Post(Notice notice) {
    std::lock_guard const lock(mutex_);
    notices_.push_back(std::move(notice));
    eventfd_write(event_.Get(), 1);
}

std::vector<Notice> Notices::Take() {
    std::lock_guard const lock(mutex_);
    eventfd_t count = 0;
    eventfd_read(event_.Get(), &count);
    return std::exchange(notices_, {});
}

} // namespace workstation::service
