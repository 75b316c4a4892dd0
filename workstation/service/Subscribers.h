// Those who are told of recordings and of the storage.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ipc/Endpoint.h"

namespace workstation {

// What can be subscribed to. The numbers are fixed.
enum class Subscription : std::uint32_t {
    storage = 10,
    recordStart = 11,
    recordStop = 12,
};

// Never waits for a subscriber. What one that is slow or stopped cannot take is kept for it, up to
// a limit, beyond which the oldest is lost; one that is gone is dropped.
class Subscribers {
public:
    // Notifications that wait for one subscriber of one subscription.
    static constexpr std::size_t maxWaiting = 64;

    explicit Subscribers(Endpoint const& endpoint)
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
    std::size_t Count() const { return subscribers_.size(); }

private:
    using Key = std::pair<std::string, Subscription>;
    struct Subscriber {
        std::uint32_t messageId;
        std::deque<std::vector<char>> waiting;
    };

    static void Keep(Key const& key, Subscriber& subscriber, std::vector<char> const& payload);
    bool Deliver(Key const& key, Subscriber& subscriber) const;
    template <typename IsMeant>
    void DeliverWhere(IsMeant isMeant);

    Endpoint const& endpoint_;
    std::map<Key, Subscriber> subscribers_;
};

} // namespace workstation
