// The endpoints that are notified of recordings and of the storage.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ipc/Endpoint.h"

namespace workstation::service::subscribers {

// What can be subscribed to. The numbers are those of the messages.
enum class Subscription : std::uint32_t {
    storage = 10,
    recordStart = 11,
    recordStop = 12,
};

// Never waits for a subscriber. Notifications that it cannot take are kept in their order, up to a
// limit. A subscriber that exceeds the limit, or whose process is gone, is dropped.
class Subscribers {
public:
    // The limit of the notifications that wait for one subscriber.
    static constexpr std::size_t maxWaiting = 64;

    explicit Subscribers(ipc::Endpoint const& endpoint)
        : endpoint_(endpoint) {}

    // Adds a subscription: the endpoint `name` gets its notifications as messages with this id.
    // Replaces an earlier one of the same endpoint and kind.
    void Add(std::string const& name, Subscription subscription, std::uint32_t messageId);

    // Notifies all subscribers of this kind.
    void Notify(Subscription subscription, std::vector<char> const& payload);

    // Notifies one of them only.
    void Notify(std::string const& name, Subscription subscription,
                std::vector<char> const& payload);

    // Sends what waits, as far as the subscribers have room.
    void DeliverWaiting();
    bool HasWaiting() const;

    bool Has(Subscription subscription) const;

    // The endpoints with this subscription.
    std::set<std::string> Names(Subscription subscription) const;

    // The number of subscriptions.
    std::size_t Count() const;

    // The number of endpoints with a subscription whose process lives.
    std::size_t LiveCount() const;

private:
    struct Notification {
        Subscription subscription;
        std::vector<char> payload;
    };
    struct Subscriber {
        std::map<Subscription, std::uint32_t> messageIds;
        std::deque<Notification> waiting;
    };
    using Subscriptions = std::map<std::string, Subscriber>; // by endpoint

    static void Keep(Subscriber& subscriber, Notification notification);
    Subscriptions::iterator Deliver(Subscriptions::iterator subscriber);
    void Send(std::string const& name, Subscriber& subscriber) const;

    ipc::Endpoint const& endpoint_;
    Subscriptions subscribers_;
};

} // namespace workstation::service::subscribers
