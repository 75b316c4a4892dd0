// Makes the source that an argument of --record names.
#pragma once

#include <memory>
#include <string>

#include "service/recording/Source.h"
#include "service/recording/StopEvent.h"

namespace workstation::service::recording {

// "-" is standard input, "/dev/fd/NUMBER" a descriptor that the service was started with,
// "exec:COMMAND" a command, "udp://ADDRESS:PORT" UDP datagrams, anything else a path. `stop` ends
// every wait and outlives the source. Throws a Failure with the reason alone when there is no such
// source.
std::unique_ptr<Source> MakeSource(std::string const& source, StopEvent const& stop);

} // namespace workstation::service::recording
