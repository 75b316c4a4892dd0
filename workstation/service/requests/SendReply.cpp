// The reply to a request.
#include "service/requests/SendReply.h"

#include <cstring>
#include <string>

#include "ipc/Payload.h"
#include "log/PlatformLog.h"

namespace workstation::service::requests {

void SendReply(ipc::Endpoint const& endpoint, ipc::Letter const& request, std::uint32_t id,
               std::initializer_list<Item*> items) {
    int const error =
        endpoint.Send(request.sender, id, ipc::EncodeItems(items), request.correlation, 0);
    if (error != 0) {
        log::LogNote("no answer to " + request.sender + ": " + std::strerror(error));
    }
}

} // namespace workstation::service::requests
