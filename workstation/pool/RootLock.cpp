// The lock that makes one process the owner of a recorder's directory.
#include "pool/RootLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <string>

#include "Failure.h"
#include "Root.h"

namespace workstation::pool {

FileDescriptor LockRoot() {
    std::string const path = RootDirectory();
    FileDescriptor root(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root) {
        throw SystemFailure("cannot open '" + path + "'");
    }
    if (flock(root.Get(), LOCK_EX | LOCK_NB) == 0) {
        return root;
    }
    if (errno == EWOULDBLOCK) {
        throw Failure(EBUSY, "'" + path + "' is in use by a running stream manager");
    }
    throw SystemFailure("cannot lock '" + path + "'");
}

} // namespace workstation::pool
