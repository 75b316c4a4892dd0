// The directory that holds the socket of each endpoint.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>
#include <sys/un.h>

#include <ctime>
#include <optional>
#include <string>

#include "FileDescriptor.h"

namespace workstation::ipc {

// Endpoint names are file names in the directory. Their length is limited so that the address of
// each endpoint fits into sockaddr_un.
constexpr std::size_t maxEndpointNameLength = 64;
bool IsEndpointName(std::string const& name);

// The address of a name in an open directory. It leads through /proc/self/fd, so that the length of
// the directory's path does not matter.
sockaddr_un AddressIn(int directory, std::string const& name);

// Identifies one socket. A process that takes over a name makes another socket.
struct SocketIdentity {
    dev_t device;
    ino_t inode;
    time_t createdSeconds;
    long createdNanoseconds;

    bool operator==(SocketIdentity const&) const = default;
};

class SocketDirectory {
public:
    // Opens $root/ipc, and makes it (mode 0700) when it does not exist. A missing root is a
    // Failure.
    static SocketDirectory Open();

    // The same, but a missing directory is a Failure too.
    static SocketDirectory OpenExisting();

    sockaddr_un Address(std::string const& name) const { return AddressIn(Descriptor(), name); }

    // The socket that a live process serves under `name`; empty when there is none.
    std::optional<SocketIdentity> Served(std::string const& name) const;

    // The user whose live process serves `name`, when that is another user than this process's.
    std::optional<uid_t> ForeignOwner(std::string const& name) const;

    // Whether `name` is a socket whose process has ended.
    bool IsStale(std::string const& name) const;

    int Descriptor() const { return descriptor_.Get(); }

private:
    explicit SocketDirectory(FileDescriptor descriptor)
        : descriptor_(std::move(descriptor)) {}

    std::optional<struct stat> SocketStatus(std::string const& name) const;
    bool HasEnded(std::string const& name) const;

    FileDescriptor descriptor_;
};

// Keeps other processes from taking and removing names until it is destroyed: between the look
// whether a name is free and its binding, no other process may do the same.
class DirectoryLock {
public:
    // Waits up to 2 s for the lock. As a condition, false when another process has kept it.
    explicit DirectoryLock(SocketDirectory const& directory);
    ~DirectoryLock();

    DirectoryLock(DirectoryLock const&) = delete;
    DirectoryLock& operator=(DirectoryLock const&) = delete;

    explicit operator bool() const { return descriptor_ >= 0; }

private:
    int descriptor_ = -1; // the locked directory; -1 without the lock
};

} // namespace workstation::ipc
