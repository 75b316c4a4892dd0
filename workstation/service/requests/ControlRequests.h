// The requests that concern the service itself.
#pragma once

#include <functional>

#include "ipc/Endpoint.h"
#include "service/requests/RequestRouter.h"

namespace workstation::service::requests {

// What the control requests need of the service; all of it outlives them.
struct ControlContext {
    ipc::Endpoint& endpoint;
    std::function<void()> quit;           // ends the service
    std::function<void()> reap;           // runs the reaper
    std::function<std::string()> info;    // the service about itself
    std::function<std::string()> storage; // the storage figures in words
};

// Has ping, quit, reap, info, storage dump and the log level handled.
void AddControlRequests(RequestRouter& router, ControlContext const& context);

} // namespace workstation::service::requests
