// The requests about the service itself: ping, quit, reap, info, status, storage dump and log
// level.
#include "service/requests/ControlRequests.h"

#include "Item.h"
#include "LogClient.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "log/LogLevels.h"
#include "log/PlatformLog.h"
#include "service/requests/SendReply.h"
#include "status/ServiceStatusItem.h"

namespace workstation::service::requests {
namespace {

void GetLogLevel(ipc::Endpoint const& endpoint, ipc::Letter const& request) {
    UIntItem level(LogClient::Instance()->Level());
    SendReply(endpoint, request, api::getLogLevelReply, {&level});
}

void SetLogLevel(ipc::Endpoint const& endpoint, ipc::Letter& request) {
    UIntItem level;
    BoolItem done(ipc::DecodeItems(request.payload, {&level}) && level.Value() <= log::allLevels);
    if (done.Value()) {
        log::LogNotification("log level set to " + std::to_string(level.Value()));
        LogClient::Instance()->Level(level.Value());
    }
    SendReply(endpoint, request, api::setLogLevelReply, {&done});
}

} // namespace

void AddControlRequests(RequestRouter& router, ControlContext const& context) {
    ipc::Endpoint& endpoint = context.endpoint;
    router.On(api::pingRequest, "ping", [](ipc::Letter&) {}); // the router has logged it
    router.On(api::quitRequest, "quit", [quit = context.quit](ipc::Letter&) { quit(); });
    router.On(api::reapRequest, "reap", [reap = context.reap](ipc::Letter&) { reap(); });
    router.On(api::infoRequest, "info", [info = context.info](ipc::Letter&) {
        for (std::string const& line : info()) {
            log::LogNotification(line, log::Severity::info);
        }
    });
    router.OnRoutine(api::statusRequest, "status",
                     [&endpoint, status = context.serviceStatus](ipc::Letter const& request) {
                         status::ServiceStatusItem item(status());
                         SendReply(endpoint, request, api::statusReply, {&item});
                     });
    router.On(api::storageDumpRequest, "storage dump", [storage = context.storage](ipc::Letter&) {
        log::LogNotification("storage: " + storage(), log::Severity::info);
    });
    router.On(api::getLogLevelRequest, "log level",
              [&endpoint](ipc::Letter& request) { GetLogLevel(endpoint, request); });
    router.On(api::setLogLevelRequest, "set log level",
              [&endpoint](ipc::Letter& request) { SetLogLevel(endpoint, request); });
}

} // namespace workstation::service::requests
