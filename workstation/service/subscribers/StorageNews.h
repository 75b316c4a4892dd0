// What subscribers are told of the storage, and when.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "service/subscribers/StorageFigures.h"
#include "service/subscribers/Subscribers.h"

namespace workstation::service::subscribers {

// A new subscriber is told at once, everyone when the figures have changed, at most once a second.
class StorageNews {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::milliseconds interval{1000};

    // `count` counts the figures anew: others change the table of files too. While it throws there
    // are no news.
    StorageNews(Subscribers& subscribers, std::function<StorageFigures()> count)
        : subscribers_(subscribers)
        , count_(std::move(count)) {}

    // Throws what counting throws.
    void TellNewcomer(std::string const& name);
    void TellChanges(Clock::time_point now);

    // How long until TellChanges has something to do; -1: until somebody subscribes.
    int WaitMs(Clock::time_point now) const;

private:
    std::optional<StorageFigures> TryToCount();

    Subscribers& subscribers_;
    std::function<StorageFigures()> count_;
    std::optional<StorageFigures> told_; // what everyone was told last
    Clock::time_point next_{};
    bool hasFailed_ = false;
};

} // namespace workstation::service::subscribers
