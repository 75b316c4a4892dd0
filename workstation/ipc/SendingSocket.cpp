// The socket that an endpoint's messages go out from.
#include "ipc/SendingSocket.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace workstation::ipc {
namespace {

// As the kernel decides it: what it goes beyond the limit with is the last message that it takes.
bool IsFull(int socket) {
    int unread = 0;
    int limit = 0;
    socklen_t size = sizeof limit;
    return ioctl(socket, SIOCOUTQ, &unread) == 0 &&
           getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &limit, &size) == 0 && unread >= limit;
}

// A directory that only the owner of an endpoint's name uses, and only for a moment.
class PrivateDirectory {
public:
    PrivateDirectory(SocketDirectory const& parent, std::string const& endpoint)
        : parent_(parent.Descriptor())
        , name_('.' + endpoint) {
        mkdirat(parent_, name_.c_str(), 0700); // may be left of a process that was killed
        descriptor_.Reset(
            openat(parent_, name_.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    }
    ~PrivateDirectory() { unlinkat(parent_, name_.c_str(), AT_REMOVEDIR); }

    PrivateDirectory(PrivateDirectory const&) = delete;
    PrivateDirectory& operator=(PrivateDirectory const&) = delete;

    int Descriptor() const { return descriptor_.Get(); }

private:
    int parent_;
    std::string name_;
    FileDescriptor descriptor_;
};

// Receivers know a sender by the last component of the path that its socket was bound to, whether
// or not there still is a file: in a directory of its own a second socket can have the same one.
FileDescriptor MakeSocket(SocketDirectory const& directory, std::string const& name) {
    PrivateDirectory const place(directory, name);
    FileDescriptor made(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un const address = AddressIn(place.Descriptor(), name);
    unlinkat(place.Descriptor(), name.c_str(), 0);
    bool const isBound =
        bind(made.Get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0;
    unlinkat(place.Descriptor(), name.c_str(), 0);
    return isBound ? std::move(made) : FileDescriptor();
}

} // namespace

int SendingSocket::WithRoom(SocketDirectory const& directory, std::string const& name, int first) {
    int const present = socket_ ? socket_.Get() : first;
    if (!IsFull(present)) {
        return present;
    }
    if (FileDescriptor another = MakeSocket(directory, name)) {
        socket_ = std::move(another);
        return socket_.Get();
    }
    return present;
}

} // namespace workstation::ipc
