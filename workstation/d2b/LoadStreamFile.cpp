// Puts an ordinary file into the pool.
#include "d2b/LoadStreamFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "FileDescriptor.h"
#include "StreamMgrFileMgmnt.h"
#include "pool/PoolSession.h"
#include "pool/StreamFile.h"

namespace workstation::d2b {
namespace {

constexpr std::size_t chunkSize = std::size_t{1024} * 188; // as all the transfers of stream files

// The size of a source that can be loaded; -1 for any other.
long SizeOfSource(int descriptor, std::string const& source, Trouble& why) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        FailWithErrno(why, "'" + source + "'");
        return -1;
    }
    if (!S_ISREG(status.st_mode)) {
        Fail(why, EINVAL, "'" + source + "' is not a regular file");
        return -1;
    }
    if (status.st_size > off_t{pool::poolSlotSize}) {
        Fail(why, EFBIG,
             "'" + source + "': " + std::to_string(status.st_size) +
                 " bytes do not fit into a slot of " + std::to_string(pool::poolSlotSize));
        return -1;
    }
    return static_cast<long>(status.st_size);
}

// Copies exactly `size` bytes; a source that has become shorter is a failure.
bool Copy(int descriptor, std::string const& source, long size, pool::StreamFile& target,
          Trouble& why) {
    std::vector<unsigned char> buffer(chunkSize);
    for (long copied = 0; copied < size;) {
        auto const wanted = std::min(buffer.size(), static_cast<std::size_t>(size - copied));
        ssize_t const got = read(descriptor, buffer.data(), wanted);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return FailWithErrno(why, "cannot read '" + source + "'");
        }
        if (got == 0) {
            return Fail(why, EIO,
                        "'" + source + "' ended after " + std::to_string(copied) + " of " +
                            std::to_string(size) + " bytes");
        }
        if (target.Write(buffer.data(), static_cast<unsigned int>(got)) < 0) {
            return FailWithErrno(why, "cannot write the stream file");
        }
        copied += got;
    }
    return true;
}

} // namespace

bool LoadStreamFile(int fileNumber, std::string const& source, Trouble& why) {
    FileDescriptor const file(open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) {
        return FailWithErrno(why, "cannot open '" + source + "'");
    }
    long const size = SizeOfSource(file.Get(), source, why);
    if (size < 0 || !pool::PoolSession::Instance().Load(true, why)) {
        return false;
    }
    auto const target =
        pool::StreamFile::OpenForWriting(fileNumber, StreamMgrFileMgmnt::ControlExternalProc, why);
    if (!target || !Copy(file.Get(), source, size, *target, why)) {
        return false;
    }
    target->SetLength(size);
    return true;
}

} // namespace workstation::d2b
