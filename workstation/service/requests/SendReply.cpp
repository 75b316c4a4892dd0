// The reply to a request.
#include "service/requests/SendReply.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "Failure.h"
#include "ipc/Payload.h"
#include "log/PlatformLog.h"

namespace workstation::service::requests {
namespace {

void LogLost(std::string const& client, int error) {
    log::LogNote("no answer to " + client + ": " + std::strerror(error));
}

} // namespace

void SendReply(ipc::Endpoint const& endpoint, ipc::Letter const& request, std::uint32_t id,
               std::initializer_list<Item*> items) {
    try {
        if (!endpoint.Send(request.sender, id, ipc::EncodeItems(items), request.correlation, 0)) {
            LogLost(request.sender, EAGAIN);
        }
    } catch (Failure const& failure) {
        LogLost(request.sender, failure.Error());
    }
}

} // namespace workstation::service::requests
