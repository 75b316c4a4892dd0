// Those who are told of recordings and of the storage.
#include "service/Subscribers.h"

#include <algorithm>
#include <cerrno>

#include "service/ServiceLog.h"

namespace workstation {

void Subscribers::Add(std::string const& name, Subscription subscription, std::uint32_t messageId) {
    subscribers_[{name, subscription}] = Subscriber{messageId, {}};
}

// Sends what waits to those who are meant, and drops those who are gone.
template <typename IsMeant>
void Subscribers::DeliverWhere(IsMeant isMeant) {
    for (auto entry = subscribers_.begin(); entry != subscribers_.end();) {
        auto& [key, subscriber] = *entry;
        bool const isGone = isMeant(key) && !Deliver(key, subscriber);
        if (isGone)
            LogNote("subscriber " + key.first + " is gone");
        entry = isGone ? subscribers_.erase(entry) : std::next(entry);
    }
}

void Subscribers::Notify(Subscription subscription, std::vector<char> const& payload) {
    auto const isMeant = [&](Key const& key) { return key.second == subscription; };
    for (auto& [key, subscriber] : subscribers_) {
        if (isMeant(key))
            Keep(key, subscriber, payload);
    }
    DeliverWhere(isMeant);
}

void Subscribers::Notify(std::string const& name, Subscription subscription,
                         std::vector<char> const& payload) {
    auto const found = subscribers_.find({name, subscription});
    if (found == subscribers_.end())
        return;
    Keep(found->first, found->second, payload);
    DeliverWhere([&](Key const& key) { return key == found->first; });
}

void Subscribers::DeliverWaiting() {
    DeliverWhere([](Key const&) { return true; });
}

bool Subscribers::Has(Subscription subscription) const {
    return std::ranges::any_of(
        subscribers_, [&](auto const& entry) { return entry.first.second == subscription; });
}

bool Subscribers::HasWaiting() const {
    return std::ranges::any_of(subscribers_,
                               [](auto const& entry) { return !entry.second.waiting.empty(); });
}

// Of the storage only the latest figures are of interest.
void Subscribers::Keep(Key const& key, Subscriber& subscriber, std::vector<char> const& payload) {
    if (key.second == Subscription::storage)
        subscriber.waiting.clear();
    if (subscriber.waiting.size() == maxWaiting)
        subscriber.waiting.pop_front();
    subscriber.waiting.push_back(payload);
}

// Sends what waits, as far as there is room. False when the subscriber is gone.
bool Subscribers::Deliver(Key const& key, Subscriber& subscriber) const {
    while (!subscriber.waiting.empty()) {
        int const error =
            endpoint_.Send(key.first, subscriber.messageId, subscriber.waiting.front(), 0, 0);
        if (error == EAGAIN)
            return true;
        if (error != 0)
            return false;
        subscriber.waiting.pop_front();
    }
    return true;
}

} // namespace workstation
