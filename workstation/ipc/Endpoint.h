// A named socket that sends and receives messages.
#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "FileDescriptor.h"
#include "ipc/SendingSocket.h"
#include "ipc/SocketDirectory.h"
#include "ipc/SocketFile.h"

namespace workstation::ipc {

// A received message.
struct Letter {
    std::string sender; // the endpoint that sent it
    std::uint32_t id = 0;
    std::uint32_t correlation = 0; // an answer has the number of its request; 0: no answer expected
    std::vector<char> payload;
};

// Whether a process with these credentials belongs to the owner of this one. Messages of other
// users are dropped.
bool IsOwner(ucred const& sender);

// Not for use by two threads at the same time.
class Endpoint {
public:
    // Takes the name. Throws Failure when the name is not valid, when another process has it, or
    // when the IPC directory cannot be used.
    static Endpoint Open(std::string const& name);

    // For poll(2): readable when a message may have arrived.
    int Descriptor() const { return socket_.Get(); }

    // The next message that has arrived; empty when there is none. Never blocks. Drops datagrams
    // that are not messages, and those of processes of other users; after a number of them it
    // returns empty too, so that a flood of them does not keep the caller.
    std::optional<Letter> Receive();

    // From now on `report` is called with the reason, a line, for each datagram that is dropped.
    void ReportDropped(std::function<void(std::string const& reason)> report) {
        reportDropped_ = std::move(report);
    }

    // Waits until Receive may have something; -1 waits without limit. False when the time is over.
    bool Wait(int timeoutMs) const;

    // Sends a message to the endpoint `to`. False when the receiver's queue is full and stays so
    // for `roomTimeoutMs`; 0 never blocks. Messages that other receivers have not read do not
    // count. Throws Failure when the message cannot be sent: ENOENT or ECONNREFUSED when no process
    // serves the name, EACCES when a process of another user does, which would drop the message,
    // EINVAL when the name is not valid, EMSGSIZE when the payload is larger than
    // IpcMessage::maxSize.
    bool Send(std::string const& to, std::uint32_t id, std::span<char const> payload,
              std::uint32_t correlation, int roomTimeoutMs) const;

    // The socket that a live process serves under `name`; empty when there is none.
    std::optional<SocketIdentity> Served(std::string const& name) const {
        return directory_.Served(name);
    }

private:
    Endpoint(SocketDirectory directory, FileDescriptor socket, SocketFile file);

    // In the order of dependence: the socket file must be destroyed first, the directory last.
    SocketDirectory directory_;
    FileDescriptor socket_;
    SocketFile file_;
    mutable SendingSocket sending_;     // takes the place of socket_ when its send buffer is full
    std::vector<unsigned char> buffer_; // one datagram
    std::function<void(std::string const&)> reportDropped_ = [](std::string const&) {};
};

} // namespace workstation::ipc
