// Answers of the service.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "Item.h"
#include "ipc/Endpoint.h"

namespace workstation::service::requests {

// Answers a request with these items. Never waits: when the client has ended, or its queue is full,
// the answer is dropped and that is logged.
void Reply(ipc::Endpoint const& endpoint, ipc::Letter const& request, std::uint32_t id,
           std::initializer_list<Item*> items);

} // namespace workstation::service::requests
