// The socket file of an endpoint.
#pragma once

#include <string>
#include <utility>

#include "FileDescriptor.h"
#include "ipc/SocketDirectory.h"

namespace workstation::ipc {

// Owns the file that bind(2) creates under the endpoint's name, and removes it when destroyed.
// exit() removes it as well, because an interrupted program does not destroy what is on its stack.
// A forked child never removes it: the file is its parent's.
//
// Must be destroyed before the socket is closed: no other process takes the name of an open socket.
class SocketFile {
public:
    // Binds `socket` to a name that is free, or whose process has ended. `directory` must outlive
    // the object. Throws Failure when another process has the name, when the directory stays locked
    // for 2 s, or when this process has 256 endpoints already.
    static SocketFile Bind(FileDescriptor const& socket, SocketDirectory const& directory,
                           std::string const& name);
    ~SocketFile();

    SocketFile(SocketFile&& other) noexcept
        : entry_(std::exchange(other.entry_, nullptr)) {}
    SocketFile& operator=(SocketFile&&) = delete;

    char const* Name() const;

private:
    struct Entry;
    class Register;

    explicit SocketFile(Entry* entry)
        : entry_(entry) {}

    Entry* entry_;
};

} // namespace workstation::ipc
