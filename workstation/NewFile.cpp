// A file that appears under its name only when it is complete.
#include "NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "Failure.h"

namespace workstation {
namespace {

Failure CannotWrite(std::string const& path) {
    return SystemFailure("cannot write '" + path + "'");
}

} // namespace

NewFile::NewFile(std::string const& path)
    : path_(path)
    , temporaryPath_(path + ".XXXXXX") {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw Failure(EINVAL, "'" + path + "' is not a regular file");
    }
    file_.Reset(mkostemp(temporaryPath_.data(), O_CLOEXEC));
    if (!file_) {
        throw CannotWrite(path);
    }
    // mkostemp gives the owner alone access; a new file has what the umask leaves.
    mode_t const mask = umask(0);
    umask(mask);
    fchmod(file_.Get(), 0666 & ~mask);
}

NewFile::~NewFile() {
    if (!temporaryPath_.empty()) {
        unlink(temporaryPath_.c_str());
    }
}

void NewFile::Write(unsigned char const* bytes, std::size_t count) {
    while (count > 0) {
        ssize_t const written = write(file_.Get(), bytes, count);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            throw CannotWrite(path_);
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
}

void NewFile::Complete() {
    if (close(file_.Release()) != 0 || std::rename(temporaryPath_.c_str(), path_.c_str()) != 0) {
        throw CannotWrite(path_);
    }
    temporaryPath_.clear();
}

} // namespace workstation
