// Notifies subscribers of the storage figures.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "service/subscribers/StorageFigures.h"
#include "service/subscribers/Subscribers.h"

namespace workstation::service::subscribers {

// A new subscriber is notified at once, the others when the figures differ from those that they
// were sent, at most once a second. A new subscriber for whom they could not be counted is notified
// as soon as they can.
class StorageNotifier {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::milliseconds interval{1000};

    // `count` counts the figures. It is called each second, since other processes also change the
    // table of files. While it throws, there are no notifications, which is logged once.
    StorageNotifier(Subscribers& subscribers, std::function<StorageFigures()> count)
        : subscribers_(subscribers)
        , count_(std::move(count)) {}

    // Throws what `count` throws. Then NotifyOfChanges tries again, at the earliest a second later.
    void NotifyNewSubscriber(std::string const& name, Clock::time_point now);
    void NotifyOfChanges(Clock::time_point now);

    // The milliseconds until NotifyOfChanges has something to do; -1 while there is no subscriber.
    int WaitMs(Clock::time_point now) const;

private:
    std::optional<StorageFigures> TryToCount();
    void Send(std::string const& name, StorageFigures const& figures);

    Subscribers& subscribers_;
    std::function<StorageFigures()> count_;
    std::map<std::string, StorageFigures> sent_; // the last ones to each subscriber
    Clock::time_point next_{};
    bool hasFailed_ = false;
};

} // namespace workstation::service::subscribers
