// The service manager that has started the service, such as systemd.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace workstation::service::supervision {

// Speaks the protocol of sd_notify(3). Without a service manager that listens (the environment has
// no NOTIFY_SOCKET) nothing happens.
class ServiceManager {
public:
    ServiceManager();

    bool Listens() const { return listens_; }

    // How often it wants a sign of life; null when it does not want any.
    std::optional<std::chrono::microseconds> WatchdogPeriod() const { return watchdogPeriod_; }

    // The service has started, or has read its configuration again, and serves.
    void Ready() const;

    // The configuration is being read again, until Ready.
    void Reloading() const;

    // The service ends.
    void Stopping() const;

    // What the service does, as one line for people.
    void Status(std::string const& text) const;

    // The sign of life.
    void IsAlive() const;

private:
    bool listens_;
    std::optional<std::chrono::microseconds> watchdogPeriod_;
};

} // namespace workstation::service::supervision
