// Who owns a recorder's directory.
#include "pool/RootLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include "Root.h"

namespace workstation::pool {

FileDescriptor LockRoot(Trouble& why) {
    std::string const path = RootDirectory();
    FileDescriptor root(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root) {
        FailWithErrno(why, "cannot open '" + path + "'");
        return {};
    }
    if (flock(root.Get(), LOCK_EX | LOCK_NB) == 0) {
        return root;
    }
    if (errno == EWOULDBLOCK) {
        Fail(why, EBUSY, "'" + path + "' is in use by a running stream manager");
    } else {
        FailWithErrno(why, "cannot lock '" + path + "'");
    }
    return {};
}

} // namespace workstation::pool
