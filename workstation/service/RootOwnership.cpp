// The claim of one service on the recorder's directory.
#include "service/RootOwnership.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>

namespace workstation {

std::optional<RootOwnership> RootOwnership::Take(std::string const& root, std::string& error) {
    FileDescriptor directory(open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory) {
        error = "cannot open the recorder's directory '" + root + "': " + std::strerror(errno);
        return std::nullopt;
    }
    if (flock(directory.Get(), LOCK_EX | LOCK_NB) != 0) {
        error =
            errno == EWOULDBLOCK
                ? "the recorder's directory '" + root + "' is in use by another process"
                : "cannot lock the recorder's directory '" + root + "': " + std::strerror(errno);
        return std::nullopt;
    }
    return RootOwnership(std::move(directory));
}

} // namespace workstation
