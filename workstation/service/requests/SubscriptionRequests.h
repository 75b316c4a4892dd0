// The requests of those who want to be told.
#pragma once

#include <functional>
#include <string>

#include "ipc/Endpoint.h"
#include "service/requests/RequestRouter.h"
#include "service/subscribers/Subscribers.h"

namespace workstation::service::requests {

// What subscriptions need of the service; all of it outlives them.
struct SubscriptionContext {
    ipc::Endpoint& endpoint;
    subscribers::Subscribers& subscribers;
    // Tells a new subscriber of the storage how that is at present.
    std::function<void(std::string const& name)> tellStorage;
};

// Has subscriptions handled.
void AddSubscriptionRequests(RequestRouter& router, SubscriptionContext const& context);

} // namespace workstation::service::requests
