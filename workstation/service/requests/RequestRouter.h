// Which code answers which request.
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

    // Has requests with this id handled; `name` is what the log calls them.
    void On(std::uint32_t id, std::string name, Handler handler);

    // Logs what was asked and by whom, and hands the request to its handler. One that nobody
    // handles, or whose handler throws, is only logged.
    void Handle(ipc::Letter& request) const;

private:
    struct Route {
        std::string name;
        Handler handler;
    };

    std::map<std::uint32_t, Route> routes_;
};

} // namespace workstation::service::requests
