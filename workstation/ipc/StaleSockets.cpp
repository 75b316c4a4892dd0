// Removal of stale sockets: socket files whose process has ended.
#include "ipc/StaleSockets.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "Failure.h"

namespace workstation::ipc {
namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using DirectoryStream = std::unique_ptr<DIR, CloseDirectory>;

void RemoveAllStale(SocketDirectory const& directory) {
    FileDescriptor listing(openat(directory.Descriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    DirectoryStream const stream(fdopendir(listing.Get()));
    if (stream == nullptr) {
        return;
    }
    listing.Release(); // the stream closes it
    while (dirent const* const entry = readdir(stream.get())) {
        RemoveStaleSocket(directory, entry->d_name);
    }
}

} // namespace

void RemoveStaleSocket(SocketDirectory const& directory, std::string const& name) {
    if (directory.IsStale(name)) {
        unlinkat(directory.Descriptor(), name.c_str(), 0);
    }
}

void RemoveStaleSockets() {
    try {
        SocketDirectory const directory = SocketDirectory::Open();
        if (DirectoryLock const lock(directory); lock) {
            RemoveAllStale(directory);
        }
    } catch (Failure const&) {
        return; // as the header says
    }
}

} // namespace workstation::ipc
