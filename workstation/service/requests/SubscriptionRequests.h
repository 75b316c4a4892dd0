// The requests of clients that subscribe to notifications.
#pragma once

#include <functional>
#include <string>

#include "ipc/Endpoint.h"
#include "service/requests/RequestRouter.h"
#include "service/subscribers/Subscribers.h"

namespace workstation::service::requests {

// What the handler needs of the service. Everything outlives the router.
struct SubscriptionContext {
    ipc::Endpoint& endpoint;
    subscribers::Subscribers& subscribers;
    // Sends a new subscriber of the storage the present figures.
    std::function<void(std::string const& name)> notifyOfStorage;
};

// Registers the handler.
void AddSubscriptionRequests(RequestRouter& router, SubscriptionContext const& context);

} // namespace workstation::service::requests
