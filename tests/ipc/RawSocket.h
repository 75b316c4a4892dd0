// A datagram socket that sends any bytes.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "FileDescriptor.h"

class RawSocket {
public:
    // Bound to `path`; not bound when it is empty.
    explicit RawSocket(std::filesystem::path const& path)
        : descriptor_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        if (!path.empty()) {
            sockaddr_un const address = Address(path);
            if (bind(descriptor_.Get(), reinterpret_cast<sockaddr const*>(&address),
                     sizeof address) != 0) {
                throw std::runtime_error("raw socket cannot be bound");
            }
        }
    }

    // False when the datagram was not taken.
    bool Send(std::filesystem::path const& to, std::string const& bytes) const {
        sockaddr_un const address = Address(to);
        return sendto(descriptor_.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT,
                      reinterpret_cast<sockaddr const*>(&address),
                      sizeof address) == static_cast<ssize_t>(bytes.size());
    }

    // The next datagram that has arrived; empty when there is none.
    std::string Receive() const {
        std::string bytes(70000, '\0');
        ssize_t const size = recv(descriptor_.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
        return bytes;
    }

    int Descriptor() const { return descriptor_.Get(); }

    static sockaddr_un Address(std::filesystem::path const& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        return address;
    }

private:
    workstation::FileDescriptor descriptor_;
};
