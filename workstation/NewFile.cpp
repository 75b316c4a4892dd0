// Files that appear under their name only when they are complete.
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

void SyncDirectory(std::string const& path) {
    FileDescriptor const directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory || fsync(directory.Get()) != 0) {
        throw SystemFailure("cannot make the names in '" + path + "' durable");
    }
}

UnfinishedFile::~UnfinishedFile() {
    if (!path_.empty()) {
        unlink(path_.c_str());
    }
}

bool UnfinishedFile::RenameTo(std::string const& path) {
    if (std::rename(path_.c_str(), path.c_str()) != 0) {
        return false;
    }
    path_.clear();
    return true;
}

FileDescriptor MakeTemporaryFile(std::string& path) {
    FileDescriptor file(mkostemp(path.data(), O_CLOEXEC));
    if (file) {
        // mkostemp gives access to the owner alone; a new file has what the umask leaves.
        mode_t const mask = umask(0);
        umask(mask);
        fchmod(file.Get(), 0666 & ~mask);
    }
    return file;
}

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

NewFile::NewFile(std::string const& path)
    : path_(path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw Failure(EINVAL, "'" + path + "' is not a regular file");
    }
    std::string temporaryPath = path + ".XXXXXX";
    file_ = MakeTemporaryFile(temporaryPath);
    if (!file_) {
        throw CannotWrite(path);
    }
    unfinished_.emplace(temporaryPath);
}

void NewFile::Write(unsigned char const* bytes, std::size_t count) {
    WriteAll(file_.Get(), {bytes, count}, path_);
}

void NewFile::Complete() {
    if (close(file_.Release()) != 0 || !unfinished_->RenameTo(path_)) {
        throw CannotWrite(path_);
    }
}

} // namespace workstation
