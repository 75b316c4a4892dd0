// The socket that an endpoint sends from.
#pragma once

#include <string>

#include "FileDescriptor.h"
#include "ipc/SocketDirectory.h"

namespace workstation::ipc {

// A message that its receiver has not read counts against the send buffer of the socket that it was
// sent from, so receivers that do not read could block the messages to all others. Therefore
// another socket takes the place of one whose send buffer is full: only a receiver's own queue
// limits what can be sent to it.
class SendingSocket {
public:
    // The socket to send from: `first` until its send buffer is full, then others with the same
    // name. When no other socket can be made, the full one.
    int WithRoom(SocketDirectory const& directory, std::string const& name, int first);

private:
    FileDescriptor socket_; // empty while `first` is in use
};

} // namespace workstation::ipc
