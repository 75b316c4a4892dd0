// Answers of the service.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "Item.h"
#include "ipc/Endpoint.h"

namespace workstation::service::requests {

// Answers a request with these items. A client that does not take its answer goes without: the
// service waits for nobody.
void Reply(ipc::Endpoint const& endpoint, ipc::Letter const& request, std::uint32_t id,
           std::initializer_list<Item*> items);

} // namespace workstation::service::requests
