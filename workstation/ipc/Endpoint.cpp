// A named socket that sends and receives messages.
#include "ipc/Endpoint.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "Deadline.h"
#include "ipc/Datagram.h"

namespace workstation::ipc {
namespace {

// One datagram off the socket, with what the kernel says of its sender.
struct RawDatagram {
    std::span<unsigned char const> bytes;
    bool truncated;
    std::string sender;
    std::optional<ucred> credentials;
};

FileDescriptor MakeSocket(std::string& error) {
    FileDescriptor descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    int const on = 1;
    if (!descriptor || setsockopt(descriptor.Get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0) {
        error = std::string("cannot make a socket: ") + std::strerror(errno);
        return FileDescriptor();
    }
    return descriptor;
}

// The last component of a socket's path; empty for a socket that is not bound to a path.
std::string NameOf(sockaddr_un const& address, std::size_t addressSize) {
    std::size_t const pathOffset = offsetof(sockaddr_un, sun_path);
    if (addressSize <= pathOffset) {
        return {};
    }
    std::string path(address.sun_path, strnlen(address.sun_path, addressSize - pathOffset));
    return path.substr(path.rfind('/') + 1);
}

std::optional<ucred> CredentialsIn(msghdr& header) {
    for (cmsghdr* field = CMSG_FIRSTHDR(&header); field != nullptr;
         field = CMSG_NXTHDR(&header, field)) {
        if (field->cmsg_level == SOL_SOCKET && field->cmsg_type == SCM_CREDENTIALS) {
            ucred credentials{};
            std::memcpy(&credentials, CMSG_DATA(field), sizeof credentials);
            return credentials;
        }
    }
    return std::nullopt;
}

// Nothing, with errno set, when the queue is empty.
std::optional<RawDatagram> ReadDatagram(int socket, std::span<unsigned char> buffer) {
    sockaddr_un address{};
    iovec part{buffer.data(), buffer.size()};
    // Room for the credentials only: descriptors that somebody sends along are refused.
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(ucred))> control{};
    msghdr header{};
    header.msg_name = &address;
    header.msg_namelen = sizeof address;
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = control.size();

    ssize_t const size = recvmsg(socket, &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (size < 0) {
        return std::nullopt;
    }
    return RawDatagram{buffer.first(static_cast<std::size_t>(size)),
                       (header.msg_flags & MSG_TRUNC) != 0, NameOf(address, header.msg_namelen),
                       CredentialsIn(header)};
}

std::optional<Letter> Open(RawDatagram const& datagram) {
    if (datagram.truncated || !datagram.credentials || !IsHeard(*datagram.credentials) ||
        !IsEndpointName(datagram.sender)) {
        return std::nullopt;
    }
    auto const header = DecodeHeader(datagram.bytes);
    if (!header) {
        return std::nullopt;
    }
    auto const payload = datagram.bytes.subspan(datagramHeaderSize);
    return Letter{datagram.sender, header->id, header->correlation,
                  std::vector<char>(payload.begin(), payload.end())};
}

// Bounds how long the next blocking send takes; the limit must not be 0.
void LimitSending(int socket, int timeoutMs) {
    auto const [seconds, milliseconds] = std::div(timeoutMs, 1000);
    timeval const limit{seconds, suseconds_t{milliseconds} * 1000};
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

// Sends at once or waits for room. Returns 0 or the errno; a signal does not prolong the wait.
int SendBounded(int socket, msghdr const& datagram, int roomTimeoutMs) {
    Deadline const deadline(roomTimeoutMs);
    for (;;) {
        int const leftMs = deadline.RemainingMs();
        if (leftMs > 0) {
            LimitSending(socket, leftMs);
        }
        if (sendmsg(socket, &datagram, MSG_NOSIGNAL | (leftMs > 0 ? 0 : MSG_DONTWAIT)) >= 0) {
            return 0;
        }
        if (errno != EINTR) {
            return errno;
        }
    }
}

} // namespace

bool IsHeard(ucred const& sender) {
    return sender.uid == geteuid();
}

std::optional<Endpoint> Endpoint::Open(std::string const& name, std::string& error) {
    if (!IsEndpointName(name)) {
        error = "'" + name + "' cannot be the name of an endpoint";
        return std::nullopt;
    }
    auto directory = SocketDirectory::Open(error);
    if (!directory) {
        return std::nullopt;
    }
    FileDescriptor socket = MakeSocket(error);
    if (!socket) {
        return std::nullopt;
    }
    auto bound = BoundName::Bind(socket, *directory, name, error);
    if (!bound) {
        return std::nullopt;
    }
    return Endpoint(std::move(*directory), std::move(socket), std::move(*bound));
}

Endpoint::Endpoint(SocketDirectory directory, FileDescriptor socket, BoundName name)
    : directory_(std::move(directory))
    , socket_(std::move(socket))
    , name_(std::move(name))
    , buffer_(maxDatagramSize) {}

std::optional<Letter> Endpoint::Receive() {
    for (;;) {
        auto const datagram = ReadDatagram(Descriptor(), buffer_);
        if (!datagram && errno != EINTR) {
            return std::nullopt;
        }
        if (datagram) {
            if (auto letter = ipc::Open(*datagram)) {
                return letter;
            }
        }
    }
}

bool Endpoint::Wait(int timeoutMs) const {
    Deadline const deadline(timeoutMs);
    pollfd readable{Descriptor(), POLLIN, 0};
    while (poll(&readable, 1, deadline.RemainingMs()) < 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return (readable.revents & POLLIN) != 0;
}

int Endpoint::Send(std::string const& to, std::uint32_t id, std::span<char const> payload,
                   std::uint32_t correlation, int roomTimeoutMs) const {
    if (!IsEndpointName(to)) {
        return EINVAL;
    }
    if (payload.size() > IpcMessage::maxSize) {
        return EMSGSIZE;
    }
    auto head = EncodeHeader({id, correlation, static_cast<std::uint32_t>(payload.size())});
    sockaddr_un address = directory_.Address(to);
    // sendmsg only reads from these.
    std::array<iovec, 2> parts{iovec{head.data(), head.size()},
                               iovec{const_cast<char*>(payload.data()), payload.size()}};
    msghdr datagram{};
    datagram.msg_name = &address;
    datagram.msg_namelen = sizeof address;
    datagram.msg_iov = parts.data();
    datagram.msg_iovlen = parts.size();
    return SendBounded(sending_.WithRoom(directory_, name_.Get(), Descriptor()), datagram,
                       roomTimeoutMs);
}

} // namespace workstation::ipc
