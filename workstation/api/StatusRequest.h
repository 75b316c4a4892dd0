// Asks the service what it is doing.
#pragma once

#include <string>

#include "status/ServiceStatus.h"

namespace workstation::api {

// Takes 8 s at most: 2 s for a name in the recorder's directory, 2 s for room in the service's
// queue, 3 s for the answer. Changes nothing in that directory but for an endpoint `clientName`,
// which is gone when it returns; without a service it makes none. Throws a Failure that says why
// there is no answer: no service runs, or it belongs to another user, or it does not answer.
status::ServiceStatus AskForStatus(std::string const& clientName);

} // namespace workstation::api
