// The lock that the one writer of a stream file holds.
#include "pool/WriterLock.h"

#include <fcntl.h>

#include <cerrno>

#include "pool/PoolImage.h"

namespace workstation::pool {
namespace {

struct flock LockOfEntry(int fileNumber) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(PoolEntryOffset(fileNumber));
    lock.l_len = poolEntrySize;
    return lock;
}

} // namespace

bool LockForWriting(int descriptor, int fileNumber, Trouble& why) {
    auto lock = LockOfEntry(fileNumber);
    if (fcntl(descriptor, F_OFD_SETLK, &lock) == 0) {
        return true;
    }
    std::string const name = "stream file " + std::to_string(fileNumber);
    if (errno == EAGAIN || errno == EACCES) {
        return Fail(why, EBUSY, name + " is being written already");
    }
    return FailWithErrno(why, "cannot lock " + name);
}

bool HasWriter(PoolImage const& image, int fileNumber) {
    FileDescriptor const file = image.OpenDescriptor(O_RDWR);
    auto lock = LockOfEntry(fileNumber);
    return file && fcntl(file.Get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool ResetAbandonedController(PoolImage& image, int fileNumber) {
    FileDescriptor const file = image.OpenDescriptor(O_RDWR);
    Trouble busy;
    if (!file || !LockForWriting(file.Get(), fileNumber, busy) ||
        image.Get(fileNumber, EntryWord::controller) == 0) {
        return false;
    }
    image.Set(fileNumber, EntryWord::controller, 0);
    return true;
}

} // namespace workstation::pool
