// Answers of the service.
#include "service/Reply.h"

#include <cstring>
#include <string>

#include "ipc/Payload.h"
#include "log/PlatformLog.h"

namespace workstation {

void Reply(Endpoint const& endpoint, Letter const& request, std::uint32_t id,
           std::initializer_list<Item*> items) {
    int const error = endpoint.Send(request.sender, id, EncodeItems(items), request.correlation, 0);
    if (error != 0) {
        LogNote("no answer to " + request.sender + ": " + std::strerror(error));
    }
}

} // namespace workstation
