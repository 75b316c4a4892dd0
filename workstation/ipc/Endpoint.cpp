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
#include "Failure.h"
#include "UserName.h"
#include "ipc/MessageHeader.h"

namespace workstation::ipc {
namespace {

// How many datagrams are dropped before Receive returns.
constexpr int maxDropped = 32;

// A datagram, with its sender as the kernel reports it.
struct RawDatagram {
    std::span<unsigned char const> bytes;
    bool truncated;
    std::string sender;
    std::optional<ucred> credentials;
};

FileDescriptor MakeSocket() {
    FileDescriptor descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    int const on = 1;
    if (!descriptor || setsockopt(descriptor.Get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0) {
        throw SystemFailure("cannot make a socket");
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

// Empty, with errno set, when the queue is empty.
std::optional<RawDatagram> ReadDatagram(int socket, std::span<unsigned char> buffer) {
    sockaddr_un address{};
    iovec part{buffer.data(), buffer.size()};
    // Room for the credentials only, so that descriptors in the datagram are refused.
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

std::optional<Letter> Decode(RawDatagram const& datagram) {
    if (datagram.truncated || !datagram.credentials || !IsOwner(*datagram.credentials) ||
        !IsEndpointName(datagram.sender)) {
        return std::nullopt;
    }
    auto const header = DecodeHeader(datagram.bytes);
    if (!header) {
        return std::nullopt;
    }
    auto const payload = datagram.bytes.subspan(messageHeaderSize);
    return Letter{datagram.sender, header->id, header->correlation,
                  std::vector<char>(payload.begin(), payload.end())};
}

std::string WhyDropped(RawDatagram const& datagram) {
    bool const isForeign = datagram.credentials && !IsOwner(*datagram.credentials);
    return isForeign ? "a message from " + UserName(datagram.credentials->uid) + " is dropped"
                     : "a datagram that is no message is dropped";
}

// Limits the time of the next blocking send. 0 would be no limit.
void LimitSending(int socket, int timeoutMs) {
    auto const [seconds, milliseconds] = std::div(timeoutMs, 1000);
    timeval const limit{seconds, suseconds_t{milliseconds} * 1000};
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

// Sends at once or waits for room. Returns 0 or the errno; EAGAIN when there was no room. Signals
// do not extend the wait.
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

bool IsOwner(ucred const& sender) {
    return sender.uid == geteuid();
}

Endpoint Endpoint::Open(std::string const& name) {
    if (!IsEndpointName(name)) {
        throw Failure(EINVAL, "'" + name + "' cannot be the name of an endpoint");
    }
    SocketDirectory directory = SocketDirectory::Open();
    FileDescriptor socket = MakeSocket();
    SocketFile file = SocketFile::Bind(socket, directory, name);
    return {std::move(directory), std::move(socket), std::move(file)};
}

Endpoint::Endpoint(SocketDirectory directory, FileDescriptor socket, SocketFile file)
    : directory_(std::move(directory))
    , socket_(std::move(socket))
    , file_(std::move(file))
    , buffer_(maxDatagramSize) {}

std::optional<Letter> Endpoint::Receive() {
    for (int dropped = 0; dropped < maxDropped;) {
        auto const datagram = ReadDatagram(Descriptor(), buffer_);
        if (!datagram && errno != EINTR) {
            return std::nullopt;
        }
        if (datagram) {
            if (auto letter = Decode(*datagram)) {
                return letter;
            }
            reportDropped_(WhyDropped(*datagram));
            ++dropped;
        }
    }
    return std::nullopt;
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

bool Endpoint::Send(std::string const& to, std::uint32_t id, std::span<char const> payload,
                    std::uint32_t correlation, int roomTimeoutMs) const {
    if (!IsEndpointName(to)) {
        throw Failure(EINVAL, "'" + to + "' cannot be the name of an endpoint");
    }
    if (payload.size() > IpcMessage::maxSize) {
        throw Failure(EMSGSIZE, "a message has at most " + std::to_string(IpcMessage::maxSize) +
                                    " bytes, not " + std::to_string(payload.size()));
    }
    if (auto const owner = directory_.ForeignOwner(to)) {
        throw Failure(EACCES, to + " is served by " + UserName(*owner) + ", not by " +
                                  UserName(geteuid()) + ": not used");
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
    int const socket = sending_.WithRoom(directory_, file_.Name(), Descriptor());
    int const error = SendBounded(socket, datagram, roomTimeoutMs);
    if (error != 0 && error != EAGAIN) {
        throw Failure(error, "cannot send to " + to + ": " + std::strerror(error));
    }
    return error == 0;
}

} // namespace workstation::ipc
