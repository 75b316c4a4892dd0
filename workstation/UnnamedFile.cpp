// Files that have no name until they are complete.
#include "UnnamedFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "Failure.h"

namespace workstation {
namespace {

Failure CannotWrite(std::string const& path) {
    return SystemFailure("cannot write '" + path + "'");
}

} // namespace

UnnamedFile::UnnamedFile(std::string path)
    : path_(std::move(path))
    , file_(open(DirectoryOf(path_).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666)) {
    if (!file_ && (errno == EOPNOTSUPP || errno == EISDIR)) {
        std::string temporaryPath = path_ + ".XXXXXX";
        file_ = MakeTemporaryFile(temporaryPath);
        if (file_) {
            temporary_.emplace(temporaryPath);
        }
    }
    if (!file_) {
        throw CannotWrite(path_);
    }
}

UnnamedFile::~UnnamedFile() {
    if (isPublished_) {
        unlink(path_.c_str());
    }
}

void UnnamedFile::Write(std::span<unsigned char const> bytes) {
    WriteAll(file_.Get(), bytes, path_);
}

void UnnamedFile::Flush() {
    if (fdatasync(file_.Get()) != 0) {
        throw CannotWrite(path_);
    }
}

void UnnamedFile::Publish() {
    std::string const source =
        temporary_ ? temporary_->Path() : "/proc/self/fd/" + std::to_string(file_.Get());
    if (linkat(AT_FDCWD, source.c_str(), AT_FDCWD, path_.c_str(),
               temporary_ ? 0 : AT_SYMLINK_FOLLOW) != 0) {
        throw CannotWrite(path_);
    }
    isPublished_ = true;
    temporary_.reset();
}

std::string DirectoryOf(std::string const& path) {
    auto const slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

} // namespace workstation
