// The directory that holds the socket of each endpoint.
#include "ipc/SocketDirectory.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "Deadline.h"
#include "Failure.h"
#include "Root.h"

namespace workstation::ipc {
namespace {

constexpr int lockTimeoutMs = 2000;
constexpr int lockRetryMs = 5;

constexpr std::size_t longestDirectoryPath = sizeof "/proc/self/fd/2147483647/" - 1;
static_assert(longestDirectoryPath + maxEndpointNameLength < sizeof(sockaddr_un::sun_path));

} // namespace

bool IsEndpointName(std::string const& name) {
    return !name.empty() && name.size() <= maxEndpointNameLength && name.front() != '.' &&
           name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

SocketDirectory SocketDirectory::Open() {
    std::string const path = IpcDirectory();
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        throw SystemFailure("cannot make " + path);
    }
    return OpenExisting();
}

SocketDirectory SocketDirectory::OpenExisting() {
    std::string const path = IpcDirectory();
    FileDescriptor descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor) {
        throw SystemFailure("cannot open " + path);
    }
    return SocketDirectory(std::move(descriptor));
}

sockaddr_un AddressIn(int directory, std::string const& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", directory,
                  name.c_str());
    return address;
}

// Empty for a file that is no socket, and for a name that is not an endpoint's.
std::optional<struct stat> SocketDirectory::SocketStatus(std::string const& name) const {
    struct stat status {};
    if (!IsEndpointName(name) ||
        fstatat(Descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISSOCK(status.st_mode)) {
        return std::nullopt;
    }
    return status;
}

// Whether the process of a socket has ended: then a connection is refused. A live process does not
// notice the connection.
bool SocketDirectory::HasEnded(std::string const& name) const {
    FileDescriptor const probe(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!probe) {
        return false;
    }
    sockaddr_un const address = Address(name);
    return connect(probe.Get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0 &&
           (errno == ECONNREFUSED || errno == ENOENT);
}

std::optional<SocketIdentity> SocketDirectory::Served(std::string const& name) const {
    auto const status = SocketStatus(name);
    if (!status || HasEnded(name)) {
        return std::nullopt;
    }
    return SocketIdentity{status->st_dev, status->st_ino, status->st_ctim.tv_sec,
                          status->st_ctim.tv_nsec};
}

std::optional<uid_t> SocketDirectory::ForeignOwner(std::string const& name) const {
    auto const status = SocketStatus(name);
    if (!status || status->st_uid == geteuid() || HasEnded(name)) {
        return std::nullopt;
    }
    return status->st_uid;
}

bool SocketDirectory::IsStale(std::string const& name) const {
    return SocketStatus(name) && HasEnded(name);
}

DirectoryLock::DirectoryLock(SocketDirectory const& directory) {
    Deadline const deadline(lockTimeoutMs);
    while (flock(directory.Descriptor(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK || deadline.Passed()) {
            return;
        }
        poll(nullptr, 0, lockRetryMs);
    }
    descriptor_ = directory.Descriptor();
}

DirectoryLock::~DirectoryLock() {
    if (descriptor_ >= 0) {
        flock(descriptor_, LOCK_UN);
    }
}

} // namespace workstation::ipc
