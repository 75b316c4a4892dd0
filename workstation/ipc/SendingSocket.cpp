// The socket that an endpoint sends from.
#include "ipc/SendingSocket.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace workstation::ipc {
namespace {

// As the kernel decides it: it takes one more message as long as the limit is not reached.
bool IsFull(int socket) {
    int unread = 0;
    int limit = 0;
    socklen_t size = sizeof limit;
    return ioctl(socket, SIOCOUTQ, &unread) == 0 &&
           getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &limit, &size) == 0 && unread >= limit;
}

// A directory that only the process with an endpoint's name uses. Removed when destroyed.
class PrivateDirectory {
public:
    PrivateDirectory(SocketDirectory const& parent, std::string const& endpoint)
        : parent_(parent.Descriptor())
        , name_('.' + endpoint) {
        mkdirat(parent_, name_.c_str(), 0700); // may be left by a killed process
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

// Receivers identify a sender by the last component of the path that its socket was bound to, even
// when that file is gone. So a second socket gets the same name in another directory.
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
