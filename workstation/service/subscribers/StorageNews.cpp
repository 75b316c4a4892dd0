// What subscribers are told of the storage, and when.
#include "service/subscribers/StorageNews.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "log/PlatformLog.h"

namespace workstation::service::subscribers {

void StorageNews::TellNewcomer(std::string const& name) {
    StorageFigures const storage = count_();
    subscribers_.Notify(name, Subscription::storage, EncodeStorage(storage));
    if (!told_) {
        told_ = storage;
    }
}

void StorageNews::TellChanges(Clock::time_point now) {
    if (!subscribers_.Has(Subscription::storage) || now < next_) {
        return;
    }
    next_ = now + interval;
    auto const storage = TryToCount();
    if (!storage) {
        return;
    }
    if (storage != told_) {
        subscribers_.Notify(Subscription::storage, EncodeStorage(*storage));
    }
    told_ = storage;
}

// Says once that it fails.
std::optional<StorageFigures> StorageNews::TryToCount() {
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

int StorageNews::WaitMs(Clock::time_point now) const {
    if (!subscribers_.Has(Subscription::storage)) {
        return -1;
    }
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(next_ - now);
    return static_cast<int>(std::clamp(left, std::chrono::milliseconds(0), interval).count());
}

} // namespace workstation::service::subscribers
