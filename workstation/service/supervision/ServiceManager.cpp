// The service manager that has started the service, such as systemd.
#include "service/supervision/ServiceManager.h"

#include <systemd/sd-daemon.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>

namespace workstation::service::supervision {
namespace {

std::uint64_t MonotonicMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000 +
           static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

// A notification that cannot be sent is lost: the service manager sees that itself.
void Notify(std::string const& text) {
    static_cast<void>(sd_notify(0, text.c_str()));
}

} // namespace

ServiceManager::ServiceManager()
    : listens_(std::getenv("NOTIFY_SOCKET") != nullptr) {
    std::uint64_t period = 0;
    if (listens_ && sd_watchdog_enabled(0, &period) > 0) {
        watchdogPeriod_ = std::chrono::microseconds(period);
    }
}

void ServiceManager::Ready() const {
    Notify("READY=1");
}

// The time lets the service manager know that the following Ready belongs to this.
void ServiceManager::Reloading() const {
    Notify("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(MonotonicMicroseconds()));
}

void ServiceManager::Stopping() const {
    Notify("STOPPING=1");
}

void ServiceManager::Status(std::string const& text) const {
    Notify("STATUS=" + text);
}

void ServiceManager::IsAlive() const {
    Notify("WATCHDOG=1");
}

} // namespace workstation::service::supervision
