// Which code answers which request.
#include "service/RequestRouter.h"

#include <exception>

#include "log/PlatformLog.h"

namespace workstation {

void RequestRouter::On(std::uint32_t id, std::string name, Handler handler) {
    routes_[id] = Route{std::move(name), std::move(handler)};
}

void RequestRouter::Handle(Letter& request) const {
    auto const found = routes_.find(request.id);
    if (found == routes_.end()) {
        LogNotification("unknown request " + std::to_string(request.id) + " from " +
                        request.sender);
        return;
    }
    Route const& route = found->second;
    LogNotification(route.name + " requested by " + request.sender);
    try {
        route.handler(request);
    } catch (std::exception const& failure) {
        LogNotification(route.name + " failed: " + failure.what());
    }
}

} // namespace workstation
