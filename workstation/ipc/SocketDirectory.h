// The directory in which every endpoint has its socket.
#pragma once

#include <sys/types.h>
#include <sys/un.h>

#include <ctime>
#include <optional>
#include <string>

#include "FileDescriptor.h"

namespace workstation::ipc {

// Endpoint names are file names in the directory. Their length is bounded so that the address of
// any endpoint fits sockaddr_un.
constexpr std::size_t maxEndpointNameLength = 64;
bool IsEndpointName(std::string const& name);

// Address of a name in an open directory. It goes through /proc/self/fd, so that the length of the
// directory's path does not count.
sockaddr_un AddressIn(int directory, std::string const& name);

// Which socket a name stands for. A process that takes over a name makes a socket of its own.
struct SocketIdentity {
    dev_t device;
    ino_t inode;
    time_t createdSeconds;
    long createdNanoseconds;

    bool operator==(SocketIdentity const&) const = default;
};

class SocketDirectory {
public:
    // Opens $root/ipc, and makes it (mode 0700) when only it is missing. Nothing on failure, with
    // the reason in `error`.
    static std::optional<SocketDirectory> Open(std::string& error);

    sockaddr_un Address(std::string const& name) const { return AddressIn(Descriptor(), name); }

    // The socket behind `name`; nothing when there is none or its process is gone.
    std::optional<SocketIdentity> Served(std::string const& name) const;

    // Removes the socket of this name when its process is gone.
    void RemoveIfStale(std::string const& name) const;
    // The same for all names.
    void RemoveAllStale() const;

    int Descriptor() const { return descriptor_.Get(); }

private:
    explicit SocketDirectory(FileDescriptor descriptor)
        : descriptor_(std::move(descriptor)) {}

    bool IsDead(std::string const& name) const;

    FileDescriptor descriptor_;
};

// Keeps other processes from taking or removing names while it lives. Between looking whether a
// name is free and binding it, nobody else may do the same.
class DirectoryLock {
public:
    // Waits a short while for who else holds the lock. Ask whether it was had.
    explicit DirectoryLock(SocketDirectory const& directory);
    ~DirectoryLock();

    DirectoryLock(DirectoryLock const&) = delete;
    DirectoryLock& operator=(DirectoryLock const&) = delete;

    explicit operator bool() const { return descriptor_ >= 0; }

private:
    int descriptor_ = -1; // the locked directory; -1 when the lock could not be had
};

// Removes the sockets that killed processes have left behind in the IPC directory.
void RemoveStaleSockets();

} // namespace workstation::ipc
