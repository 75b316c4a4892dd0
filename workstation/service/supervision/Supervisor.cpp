// Shows the service manager how the service is doing.
#include "service/supervision/Supervisor.h"

#include <algorithm>
#include <utility>

#include "Deadline.h"
#include "log/PlatformLog.h"

namespace workstation::service::supervision {
namespace {

constexpr std::chrono::seconds statusDistance(1);

int MsUntil(Heartbeat::Time time, Heartbeat::Time now) {
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(time - now).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

} // namespace

Supervisor::Supervisor(ServiceManager manager, std::function<std::vector<WatchedThread>()> threads,
                       std::function<std::string()> status)
    : manager_(std::move(manager))
    , threads_(std::move(threads))
    , status_(std::move(status)) {}

void Supervisor::Report(Time now) {
    if (manager_.Listens()) {
        ReportStatus(now);
    }
    if (manager_.WatchdogPeriod()) {
        ReportLife(now);
    }
}

int Supervisor::WaitMs(Time now) const {
    int const status = mayHaveChanged_ ? MsUntil(nextStatus_, now) : -1;
    return SoonerMs(status, manager_.WatchdogPeriod() ? MsUntil(nextSign_, now) : -1);
}

void Supervisor::ReportStatus(Time now) {
    mayHaveChanged_ = now < nextStatus_;
    if (mayHaveChanged_) {
        return;
    }
    nextStatus_ = now + statusDistance;
    std::string const status = status_();
    if (status != sentStatus_) {
        sentStatus_ = status;
        manager_.Status(status);
    }
}

void Supervisor::ReportLife(Time now) {
    if (now < nextSign_) {
        return;
    }
    nextSign_ = now + *manager_.WatchdogPeriod() / 2;
    if (!AreStuck(now)) {
        manager_.IsAlive();
    }
}

bool Supervisor::AreStuck(Time now) {
    std::set<std::string> stuck;
    for (WatchedThread const& thread : threads_()) {
        if (thread.heartbeat.IsStuck(now, *manager_.WatchdogPeriod())) {
            stuck.insert(thread.name);
            if (!stuck_.contains(thread.name)) {
                log::LogError(thread.name + " is stuck: the service manager gets no sign of life");
            }
        } else if (stuck_.contains(thread.name)) {
            log::LogNotification(thread.name + " goes on");
        }
    }
    stuck_ = std::move(stuck);
    return !stuck_.empty();
}

} // namespace workstation::service::supervision
