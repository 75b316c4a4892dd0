// A file that stands under its name only once it is complete.
#include "NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace workstation {

NewFile::~NewFile() {
    if (!temporaryPath_.empty()) {
        unlink(temporaryPath_.c_str());
    }
}

bool NewFile::Begin(std::string const& path, Trouble& why) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return Fail(why, EINVAL, "'" + path + "' is not a regular file");
    }
    path_ = path;
    std::string temporaryPath = path + ".XXXXXX";
    file_.Reset(mkostemp(temporaryPath.data(), O_CLOEXEC));
    if (!file_) {
        return FailWithErrno(why, "cannot write '" + path + "'");
    }
    temporaryPath_ = temporaryPath;
    mode_t const mask = umask(0);
    umask(mask);
    fchmod(file_.Get(), 0666 & ~mask);
    return true;
}

bool NewFile::Write(unsigned char const* bytes, std::size_t count, Trouble& why) {
    while (count > 0) {
        ssize_t const written = write(file_.Get(), bytes, count);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return FailWithErrno(why, "cannot write '" + path_ + "'");
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

bool NewFile::Complete(Trouble& why) {
    if (close(file_.Release()) != 0 || std::rename(temporaryPath_.c_str(), path_.c_str()) != 0) {
        return FailWithErrno(why, "cannot write '" + path_ + "'");
    }
    temporaryPath_.clear();
    return true;
}

} // namespace workstation
