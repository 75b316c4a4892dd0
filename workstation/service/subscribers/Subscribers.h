// Those who are told of recordings and of the storage.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ipc/Endpoint.h"

namespace workstation::service::subscribers {

// What can be subscribed to. The numbers are fixed.
enum class Subscription : std::uint32_t {
    storage = 10,
    recordStart = 11,
    recordStop = 12,
};

// Never waits for a subscriber. What one that is slow or stopped cannot take is kept for it in its
// order, up to a limit; one that goes beyond it, or is gone, is dropped.
class Subscribers {
public:
    // Notifications that wait for one subscriber.
    static constexpr std::size_t maxWaiting = 64;

    explicit Subscribers(ipc::Endpoint const& endpoint)
        : endpoint_(endpoint) {}

    // Has an endpoint told of a subscription with messages of this id, in place of what it had
    // subscribed to before under the same number.
    void Add(std::string const& name, Subscription subscription, std::uint32_t messageId);

    // Tells everyone of a subscription.
    void Notify(Subscription subscription, std::vector<char> const& payload);

    // Tells one subscriber only.
    void Notify(std::string const& name, Subscription subscription,
                std::vector<char> const& payload);

    // Tries again what has waited.
    void DeliverWaiting();
    bool HasWaiting() const;

    bool Has(Subscription subscription) const;

    // The number of subscriptions.
    std::size_t Count() const;

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
