// The directory in which every endpoint has its socket.
#include "ipc/SocketDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "Deadline.h"
#include "Root.h"

namespace workstation::ipc {
namespace {

constexpr int lockTimeoutMs = 2000;
constexpr int lockRetryMs = 5;

constexpr std::size_t longestDirectoryPath = sizeof "/proc/self/fd/2147483647/" - 1;
static_assert(longestDirectoryPath + maxEndpointNameLength < sizeof(sockaddr_un::sun_path));

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using DirectoryStream = std::unique_ptr<DIR, CloseDirectory>;

} // namespace

bool IsEndpointName(std::string const& name) {
    return !name.empty() && name.size() <= maxEndpointNameLength && name.front() != '.' &&
           name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

std::optional<SocketDirectory> SocketDirectory::Open(std::string& error) {
    std::string const path = IpcDirectory();
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        error = "cannot make " + path + ": " + std::strerror(errno);
        return std::nullopt;
    }
    FileDescriptor descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor) {
        error = "cannot open " + path + ": " + std::strerror(errno);
        return std::nullopt;
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

// Connecting a socket of our own says whether a process is behind the name, and does not disturb
// that process.
bool SocketDirectory::IsDead(std::string const& name) const {
    FileDescriptor const probe(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!probe) {
        return false;
    }
    sockaddr_un const address = Address(name);
    return connect(probe.Get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0 &&
           (errno == ECONNREFUSED || errno == ENOENT);
}

std::optional<SocketIdentity> SocketDirectory::Served(std::string const& name) const {
    struct stat status {};
    if (!IsEndpointName(name) ||
        fstatat(Descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISSOCK(status.st_mode) || IsDead(name)) {
        return std::nullopt;
    }
    return SocketIdentity{status.st_dev, status.st_ino, status.st_ctim.tv_sec,
                          status.st_ctim.tv_nsec};
}

void SocketDirectory::RemoveIfStale(std::string const& name) const {
    struct stat status {};
    if (fstatat(Descriptor(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISSOCK(status.st_mode) && IsDead(name)) {
        unlinkat(Descriptor(), name.c_str(), 0);
    }
}

void SocketDirectory::RemoveAllStale() const {
    FileDescriptor listing(openat(Descriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    DirectoryStream const stream(fdopendir(listing.Get()));
    if (stream == nullptr) {
        return;
    }
    listing.Release(); // the stream closes it
    while (dirent const* const entry = readdir(stream.get())) {
        if (IsEndpointName(entry->d_name)) {
            RemoveIfStale(entry->d_name);
        }
    }
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

void RemoveStaleSockets() {
    std::string error;
    auto const directory = SocketDirectory::Open(error);
    if (!directory) {
        return;
    }
    if (DirectoryLock const lock(*directory); lock) {
        directory->RemoveAllStale();
    }
}

} // namespace workstation::ipc
