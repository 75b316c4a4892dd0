// Notifies subscribers of the storage figures.
#include "service/subscribers/StorageNotifier.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "log/PlatformLog.h"

namespace workstation::service::subscribers {

void StorageNotifier::NotifyNewSubscriber(std::string const& name) {
    StorageFigures const storage = count_();
    subscribers_.Notify(name, Subscription::storage, EncodeStorage(storage));
    if (!notified_) {
        notified_ = storage;
    }
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
    if (storage != notified_) {
        subscribers_.Notify(Subscription::storage, EncodeStorage(*storage));
    }
    notified_ = storage;
}

// Null when counting fails. The first failure in a row is logged.
std::optional<StorageFigures> StorageNotifier::TryToCount() {
    try {
        StorageFigures const storage = count_();
        hasFailed_ = false;
        return storage;
    } catch (std::exception const& failure) {
        if (!std::exchange(hasFailed_, true)) {
            log::LogNotification(std::string("cannot tell of the storage: ") + failure.what());
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
