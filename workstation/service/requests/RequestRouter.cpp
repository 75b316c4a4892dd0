// Hands each request to its handler.
#include "service/requests/RequestRouter.h"

#include <exception>

#include "log/PlatformLog.h"

namespace workstation::service::requests {

void RequestRouter::On(std::uint32_t id, std::string name, Handler handler) {
    routes_[id] = Route{std::move(name), std::move(handler), false};
}

void RequestRouter::OnRoutine(std::uint32_t id, std::string name, Handler handler) {
    routes_[id] = Route{std::move(name), std::move(handler), true};
}

void RequestRouter::Handle(ipc::Letter& request) const {
    auto const found = routes_.find(request.id);
    if (found == routes_.end()) {
        log::LogWarning("unknown request " + std::to_string(request.id) + " from " +
                        request.sender);
        return;
    }
    Route const& route = found->second;
    std::string const line = route.name + " requested by " + request.sender;
    if (route.isRoutine) {
        log::LogNote(line);
    } else {
        log::LogNotification(line, log::Severity::info);
    }
    try {
        route.handler(request);
    } catch (std::exception const& failure) {
        log::LogError(route.name + " failed: " + failure.what());
    }
}

} // namespace workstation::service::requests
