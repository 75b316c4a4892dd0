// Files that have no name until they are complete.
#include "UnnamedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "Failure.h"

namespace workstation {
namespace {

Failure CannotWrite(std::string const& path) {
    return SystemFailure("cannot write '" + path + "'");
}

} // namespace

void WriteAll(int descriptor, std::span<unsigned char const> bytes, std::string const& path) {
    while (!bytes.empty()) {
        ssize_t const written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            throw CannotWrite(path);
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

UnnamedFile::UnnamedFile(std::string path)
    : path_(std::move(path))
    , file_(open(DirectoryOf(path_).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666)) {
    if (!file_ && (errno == EOPNOTSUPP || errno == EISDIR)) {
        std::string temporaryPath = path_ + ".XXXXXX";
        file_.Reset(CreateTemporary(temporaryPath));
        if (file_) {
            temporary_.emplace(temporaryPath);
        }
    }
    if (!file_) {
        throw CannotWrite(path_);
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
    temporary_.reset();
}

std::string DirectoryOf(std::string const& path) {
    auto const slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

void FlushDirectory(std::string const& path) {
    FileDescriptor const directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory || fsync(directory.Get()) != 0) {
        throw SystemFailure("cannot flush '" + path + "'");
    }
}

} // namespace workstation
