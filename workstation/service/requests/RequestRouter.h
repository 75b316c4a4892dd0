// Hands each request to its handler.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "ipc/Endpoint.h"

namespace workstation::service::requests {

class RequestRouter {
public:
    using Handler = std::function<void(ipc::Letter& request)>;

    // Sets the handler of the requests with this id. Log entries use `name`.
    void On(std::uint32_t id, std::string name, Handler handler);

    // The same for a request that a program sends again and again: it is only a note in the log.
    void OnRoutine(std::uint32_t id, std::string name, Handler handler);

    // Logs the request and its sender, and calls the handler. A request without a handler, and an
    // exception of a handler, is only logged.
    void Handle(ipc::Letter& request) const;

private:
    struct Route {
        std::string name;
        Handler handler;
        bool isRoutine;
    };

    std::map<std::uint32_t, Route> routes_;
};

} // namespace workstation::service::requests
