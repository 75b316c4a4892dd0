// Removal of stale sockets: socket files whose process has ended.
#pragma once

#include <string>

#include "ipc/SocketDirectory.h"

namespace workstation::ipc {

// Removes the socket file `name` when it is stale. The directory must be locked.
void RemoveStaleSocket(SocketDirectory const& directory, std::string const& name);

// Removes all stale socket files from the IPC directory. Does nothing when the directory cannot be
// opened or stays locked: the endpoint that is opened next reports the reason.
void RemoveStaleSockets();

} // namespace workstation::ipc
