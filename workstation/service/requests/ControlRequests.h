// The requests about the service itself: ping, quit, reap, info, status, storage dump and log
// level.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ipc/Endpoint.h"
#include "service/requests/RequestRouter.h"
#include "status/ServiceStatus.h"

namespace workstation::service::requests {

// What the handlers need of the service. Everything outlives the router.
struct ControlContext {
    ipc::Endpoint& endpoint;
    std::function<void()> quit;                           // ends the service
    std::function<void()> reap;                           // runs the reaper
    std::function<std::vector<std::string>()> info;       // describes the service, a line each
    std::function<std::string()> storage;                 // the storage figures in words
    std::function<status::ServiceStatus()> serviceStatus; // what the service is doing
};

// Registers the handlers.
void AddControlRequests(RequestRouter& router, ControlContext const& context);

} // namespace workstation::service::requests
