// The requests that concern the service itself.
#include "service/ControlRequests.h"

#include "Item.h"
#include "LogClient.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "log/PlatformLog.h"
#include "service/Reply.h"

namespace workstation {
namespace {

constexpr unsigned int allLogLevels = 3;

void TellLogLevel(Endpoint const& endpoint, Letter const& request) {
    UIntItem level(LogClient::Instance()->Level());
    Reply(endpoint, request, getLogLevelReply, {&level});
}

void SetLogLevel(Endpoint const& endpoint, Letter& request) {
    UIntItem level;
    BoolItem done(DecodeItems(request.payload, {&level}) && level.Value() <= allLogLevels);
    if (done.Value()) {
        LogNotification("log level set to " + std::to_string(level.Value()));
        LogClient::Instance()->Level(level.Value());
    }
    Reply(endpoint, request, setLogLevelReply, {&done});
}

} // namespace

void AddControlRequests(RequestRouter& router, ControlContext const& context) {
    Endpoint& endpoint = context.endpoint;
    router.On(pingRequest, "ping", [](Letter&) {}); // that it was logged is all
    router.On(quitRequest, "quit", [quit = context.quit](Letter&) { quit(); });
    router.On(reapRequest, "reap", [reap = context.reap](Letter&) { reap(); });
    router.On(infoRequest, "info", [info = context.info](Letter&) { LogNotification(info()); });
    router.On(storageDumpRequest, "storage dump",
              [storage = context.storage](Letter&) { LogNotification("storage: " + storage()); });
    router.On(getLogLevelRequest, "log level",
              [&endpoint](Letter& request) { TellLogLevel(endpoint, request); });
    router.On(setLogLevelRequest, "set log level",
              [&endpoint](Letter& request) { SetLogLevel(endpoint, request); });
}

} // namespace workstation
