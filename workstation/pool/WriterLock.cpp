// The lock that the one writer of a stream file holds.
#include "pool/WriterLock.h"

#include <fcntl.h>

#include <cerrno>

#include "Failure.h"
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

// False with errno on failure.
bool TakeLock(int descriptor, int fileNumber) {
    auto lock = LockOfEntry(fileNumber);
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0;
}

// Not open when the image cannot be opened.
FileDescriptor OpenForLocks(PoolImage const& image, int fileNumber) {
    try {
        return image.OpenDescriptor(O_RDWR, StreamFileName(fileNumber));
    } catch (Failure const&) {
        return {};
    }
}

} // namespace

void LockForWriting(int descriptor, int fileNumber) {
    if (TakeLock(descriptor, fileNumber)) {
        return;
    }
    if (errno == EAGAIN || errno == EACCES) {
        throw Failure(EBUSY, StreamFileName(fileNumber) + " is being written already");
    }
    throw SystemFailure("cannot lock " + StreamFileName(fileNumber));
}

bool HasWriter(PoolImage const& image, int fileNumber) {
    FileDescriptor const file = OpenForLocks(image, fileNumber);
    return file && HasWriter(file.Get(), fileNumber);
}

bool HasWriter(int descriptor, int fileNumber) {
    auto lock = LockOfEntry(fileNumber);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool ResetAbandonedController(PoolImage& image, int fileNumber) {
    FileDescriptor const file = OpenForLocks(image, fileNumber);
    if (!file || !TakeLock(file.Get(), fileNumber) ||
        image.Get(fileNumber, EntryWord::controller) == 0) {
        return false;
    }
    image.Set(fileNumber, EntryWord::controller, 0);
    return true;
}

} // namespace workstation::pool
