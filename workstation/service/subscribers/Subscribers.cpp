// The endpoints that are notified of recordings and of the storage.
#include "service/subscribers/Subscribers.h"

#include <algorithm>

#include "Failure.h"
#include "log/PlatformLog.h"

namespace workstation::service::subscribers {

void Subscribers::Add(std::string const& name, Subscription subscription, std::uint32_t messageId) {
    Subscriber& subscriber = subscribers_[name];
    subscriber.messageIds[subscription] = messageId;
    std::erase_if(subscriber.waiting, [&](Notification const& notification) {
        return notification.subscription == subscription;
    });
}

void Subscribers::Notify(Subscription subscription, std::vector<char> const& payload) {
    for (auto entry = subscribers_.begin(); entry != subscribers_.end();) {
        bool const isSubscribed = entry->second.messageIds.contains(subscription);
        if (isSubscribed) {
            Keep(entry->second, {subscription, payload});
        }
        entry = isSubscribed ? Deliver(entry) : std::next(entry);
    }
}

void Subscribers::Notify(std::string const& name, Subscription subscription,
                         std::vector<char> const& payload) {
    auto const found = subscribers_.find(name);
    if (found == subscribers_.end() || !found->second.messageIds.contains(subscription)) {
        return;
    }
    Keep(found->second, {subscription, payload});
    Deliver(found);
}

void Subscribers::DeliverWaiting() {
    for (auto entry = subscribers_.begin(); entry != subscribers_.end();) {
        entry = Deliver(entry);
    }
}

bool Subscribers::Has(Subscription subscription) const {
    return std::ranges::any_of(subscribers_, [&](auto const& entry) {
        return entry.second.messageIds.contains(subscription);
    });
}

std::set<std::string> Subscribers::Names(Subscription subscription) const {
    std::set<std::string> names;
    for (auto const& [name, subscriber] : subscribers_) {
        if (subscriber.messageIds.contains(subscription)) {
            names.insert(name);
        }
    }
    return names;
}

bool Subscribers::HasWaiting() const {
    return std::ranges::any_of(subscribers_,
                               [](auto const& entry) { return !entry.second.waiting.empty(); });
}

std::size_t Subscribers::Count() const {
    std::size_t count = 0;
    for (auto const& [name, subscriber] : subscribers_) {
        count += subscriber.messageIds.size();
    }
    return count;
}

std::size_t Subscribers::LiveCount() const {
    return static_cast<std::size_t>(std::ranges::count_if(subscribers_, [&](auto const& entry) {
        return endpoint_.Served(entry.first).has_value();
    }));
}

// Only the latest storage figures are kept.
void Subscribers::Keep(Subscriber& subscriber, Notification notification) {
    if (notification.subscription == Subscription::storage) {
        std::erase_if(subscriber.waiting, [](Notification const& kept) {
            return kept.subscription == Subscription::storage;
        });
    }
    subscriber.waiting.push_back(std::move(notification));
}

// Sends what waits, as far as the subscriber has room, and drops it when it is gone or leaves too
// much unread. Returns the next subscriber.
Subscribers::Subscriptions::iterator Subscribers::Deliver(Subscriptions::iterator subscriber) {
    auto& [name, state] = *subscriber;
    try {
        Send(name, state);
    } catch (Failure const&) {
        log::LogNote("subscriber " + name + " is gone");
        return subscribers_.erase(subscriber);
    }
    if (state.waiting.size() > maxWaiting) {
        log::LogWarning("subscriber " + name + " does not read and is dropped");
        return subscribers_.erase(subscriber);
    }
    return std::next(subscriber);
}

// Sends what waits, as far as there is room. Fails when the subscriber has ended.
void Subscribers::Send(std::string const& name, Subscriber& subscriber) const {
    while (!subscriber.waiting.empty()) {
        auto const& [subscription, payload] = subscriber.waiting.front();
        if (!endpoint_.Send(name, subscriber.messageIds.at(subscription), payload, 0, 0)) {
            return;
        }
        subscriber.waiting.pop_front();
    }
}

} // namespace workstation::service::subscribers
