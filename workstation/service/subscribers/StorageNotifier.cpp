// Notifies subscribers of the storage figures.
#include "service/subscribers/StorageNotifier.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "log/PlatformLog.h"

namespace workstation::service::subscribers {

void StorageNotifier::NotifyNewSubscriber(std::string const& name, Clock::time_point now) {
    sent_.erase(name); // those were sent to an earlier subscriber with this name
    auto const planned = next_;
    next_ = planned > now ? planned : now + interval; // of the retry when counting fails
    Send(name, count_());
    next_ = planned;
}

void StorageNotifier::NotifyOfChanges(Clock::time_point now) {
    if (!subscribers_.Has(Subscription::storage) || now < next_) {
        return;
    }
    next_ = now + interval;
    auto const storage = TryToCount();
    if (!storage) {
        return;
    }
    auto const names = subscribers_.Names(Subscription::storage);
    std::erase_if(sent_, [&](auto const& entry) { return !names.contains(entry.first); });
    for (std::string const& name : names) {
        auto const sent = sent_.find(name);
        if (sent == sent_.end() || sent->second != *storage) {
            Send(name, *storage);
        }
    }
}

void StorageNotifier::Send(std::string const& name, StorageFigures const& figures) {
    subscribers_.Notify(name, Subscription::storage, EncodeStorage(figures));
    sent_[name] = figures;
}

// Null when counting fails. The first failure in a row is logged.
std::optional<StorageFigures> StorageNotifier::TryToCount() {
    try {
        StorageFigures const storage = count_();
        hasFailed_ = false;
        return storage;
    } catch (std::exception const& failure) {
        if (!std::exchange(hasFailed_, true)) {
            log::LogError(std::string("cannot tell of the storage: ") + failure.what());
        }
        return std::nullopt;
    }
}

int StorageNotifier::WaitMs(Clock::time_point now) const {
    if (!subscribers_.Has(Subscription::storage)) {
        return -1;
    }
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(next_ - now);
    return static_cast<int>(std::clamp(left, std::chrono::milliseconds(0), interval).count());
}

} // namespace workstation::service::subscribers
