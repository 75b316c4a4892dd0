// The reply to a request.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "Item.h"
#include "ipc/Endpoint.h"

namespace workstation::service::requests {

// Sends a reply with these items. Never waits: when the client cannot take the reply at once, this
// is only logged.
void SendReply(ipc::Endpoint const& endpoint, ipc::Letter const& request, std::uint32_t id,
               std::initializer_list<Item*> items);

} // namespace workstation::service::requests
