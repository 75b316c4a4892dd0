// A named socket that sends and receives messages.
#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "FileDescriptor.h"
#include "ipc/BoundName.h"
#include "ipc/SendingSocket.h"
#include "ipc/SocketDirectory.h"

namespace workstation::ipc {

// A message that has come in.
struct Letter {
    std::string sender; // the endpoint that sent it
    std::uint32_t id = 0;
    std::uint32_t correlation = 0; // an answer bears the number of its request; 0: none expected
    std::vector<char> payload;
};

// Whether a process with these credentials is listened to: only the owner's are.
bool IsHeard(ucred const& sender);

// Not for use by two threads at once.
class Endpoint {
public:
    // Takes the name, which must be served by no other process. Nothing on failure, with the reason
    // in `error`.
    static std::optional<Endpoint> Open(std::string const& name, std::string& error);

    // For poll(2): readable when a message may be there.
    int Descriptor() const { return socket_.Get(); }

    // The next message that has come; nothing when there is none. Never blocks. Datagrams that are
    // no message, or do not come from a process of the owner, are dropped on the way.
    std::optional<Letter> Receive();

    // Waits until Receive may have something; -1 waits without limit. False when the time is over.
    bool Wait(int timeoutMs) const;

    // Sends a message to the endpoint `to`. When its queue is full, waits up to `roomTimeoutMs` for
    // room; with 0 it never blocks. What others leave unread in theirs does not count. Returns 0,
    // else the errno: ENOENT or ECONNREFUSED when nobody serves the name, EAGAIN when there is no
    // room.
    int Send(std::string const& to, std::uint32_t id, std::span<char const> payload,
             std::uint32_t correlation, int roomTimeoutMs) const;

    // The socket that `name` stands for at present; nothing when nobody serves it.
    std::optional<SocketIdentity> Served(std::string const& name) const {
        return directory_.Served(name);
    }

private:
    Endpoint(SocketDirectory directory, FileDescriptor socket, BoundName name);

    // Declared in the order of dependence: the name is given free first, the directory last.
    SocketDirectory directory_;
    FileDescriptor socket_;
    BoundName name_;
    mutable SendingSocket sending_; // in place of socket_, once unread messages have filled that
    std::vector<unsigned char> buffer_; // one datagram
};

} // namespace workstation::ipc
