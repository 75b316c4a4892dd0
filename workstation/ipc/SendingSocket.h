// The socket that an endpoint's messages go out from.
#pragma once

#include <string>

#include "FileDescriptor.h"
#include "ipc/SocketDirectory.h"

namespace workstation::ipc {

// A message that its receiver has not read counts against the buffer of the socket that it was sent
// from. Receivers that do not read would so keep all others from being told. Therefore a socket
// whose buffer is full is left to those who have filled it, and another one takes its place: what
// limits a message is its receiver's own queue alone.
class SendingSocket {
public:
    // The socket to send from: `first` until its buffer is full, then others, which bear the same
    // name. Without the means for another one, the full one.
    int WithRoom(SocketDirectory const& directory, std::string const& name, int first);

private:
    FileDescriptor socket_; // none while the first one does
};

} // namespace workstation::ipc
