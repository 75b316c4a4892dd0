// A stream file of the pool that is open.
#include "pool/StreamFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "pool/WriterLock.h"

namespace workstation::pool {
namespace {

// What a damaged entry states cannot be trusted in anything.
bool IsSoundLength(std::uint32_t length) {
    return length <= poolSlotSize;
}

// Calls `transfer` (pread or pwrite) until everything is moved. False with errno on failure.
template <typename Transfer, typename Byte>
bool TransferAll(Transfer transfer, int descriptor, Byte* bytes, std::size_t count, off_t offset) {
    while (count > 0) {
        ssize_t const moved = transfer(descriptor, bytes, count, offset);
        if (moved < 0 && errno == EINTR) {
            continue;
        }
        if (moved < 0) {
            return false;
        }
        if (moved == 0) {
            errno = EIO; // the image ends inside of a slot: it was truncated behind our back
            return false;
        }
        bytes += moved;
        count -= static_cast<std::size_t>(moved);
        offset += moved;
    }
    return true;
}

} // namespace

std::unique_ptr<StreamFile> StreamFile::OpenForReading(int fileNumber, Trouble& why) {
    return Open(fileNumber, SlotUse::reading, why);
}

std::unique_ptr<StreamFile> StreamFile::OpenForWriting(int fileNumber, std::uint32_t controller,
                                                       Trouble& why) {
    auto file = Open(fileNumber, SlotUse::writing, why);
    if (file && !file->BecomeWriter(controller)) {
        FailWithErrno(why, "stream file " + std::to_string(fileNumber));
        return nullptr;
    }
    return file;
}

std::unique_ptr<StreamFile> StreamFile::Open(int fileNumber, SlotUse use, Trouble& why) {
    std::string const name = "stream file " + std::to_string(fileNumber);
    PoolImage* const pool = PoolSession::Instance().Pool();
    if (pool == nullptr) {
        Fail(why, ENOENT, name + ": no pool is loaded");
        return nullptr;
    }
    if (!pool->Has(fileNumber)) {
        Fail(why, ENOENT, NoSuchStreamFile(*pool, fileNumber));
        return nullptr;
    }
    std::uint32_t const length = pool->Get(fileNumber, EntryWord::length);
    if (!IsSoundLength(length)) {
        Fail(why, EUCLEAN, LengthBeyondSlot(fileNumber, length));
        return nullptr;
    }
    FileDescriptor file = pool->OpenDescriptor(use == SlotUse::writing ? O_RDWR : O_RDONLY);
    if (!file) {
        FailWithErrno(why, name);
        return nullptr;
    }
    if (use == SlotUse::writing && !LockForWriting(file.Get(), fileNumber, why)) {
        return nullptr;
    }
    return std::unique_ptr<StreamFile>(new StreamFile(*pool, fileNumber, std::move(file), use));
}

StreamFile::StreamFile(PoolImage& pool, int fileNumber, FileDescriptor file, SlotUse use)
    : pool_(pool)
    , fileNumber_(fileNumber)
    , file_(std::move(file))
    , use_(use)
    , owner_(getpid())
    , listed_(PoolSession::Instance().ListThread(use, fileNumber))
    , readAhead_(KernelReadAhead(file_.Get())) {}

// The controller is set while the thread is listed and the lock is held, so that whoever finds one
// that stayed behind can tell.
bool StreamFile::BecomeWriter(std::uint32_t controller) {
    pool_.Set(fileNumber_, EntryWord::controller, controller);
    if (PoolSession::Instance().Pool() == &pool_) {
        return true;
    }
    errno = ENOENT; // unloaded in the meantime
    return false;
}

StreamFile::~StreamFile() {
    if (owner_ != getpid()) {
        return;
    }
    if (use_ == SlotUse::writing) {
        pool_.Set(fileNumber_, EntryWord::controller, 0);
    }
    if (listed_ != nullptr) {
        ProcessTable::Release(*listed_, use_);
    }
}

long StreamFile::Length() const {
    std::uint32_t const length = pool_.Get(fileNumber_, EntryWord::length);
    if (!IsSoundLength(length)) {
        errno = EUCLEAN;
        return -1;
    }
    return static_cast<long>(length);
}

// How many of `count` bytes there are from the position to `end`.
unsigned int StreamFile::Available(std::uint32_t end, unsigned int count) const {
    return position_ < end ? std::min(count, end - position_) : 0;
}

int StreamFile::Read(void* buffer, unsigned int count, bool unbounded) {
    long const end = unbounded ? long{poolSlotSize} : Length();
    if (end < 0) {
        return -1;
    }
    unsigned int const available = Available(static_cast<std::uint32_t>(end), count);
    std::uint64_t const slot = pool_.SlotOffset(fileNumber_);
    readAhead_.BeforeRead(file_.Get(), slot + position_, available,
                          slot + static_cast<std::uint32_t>(end));
    if (!TransferAll(pread, file_.Get(), static_cast<unsigned char*>(buffer), available,
                     static_cast<off_t>(slot + position_))) {
        return -1;
    }
    position_ += available;
    return static_cast<int>(available);
}

int StreamFile::Write(void const* buffer, unsigned int count) {
    unsigned int const available = Available(poolSlotSize, count);
    if (!TransferAll(pwrite, file_.Get(), static_cast<unsigned char const*>(buffer), available,
                     static_cast<off_t>(pool_.SlotOffset(fileNumber_) + position_))) {
        return -1;
    }
    position_ += available;
    return static_cast<int>(available);
}

long StreamFile::Seek(long offset) {
    if (offset < 0 || offset > long{poolSlotSize}) {
        errno = EINVAL;
        return -1;
    }
    position_ = static_cast<std::uint32_t>(offset);
    return offset;
}

long StreamFile::SetLength(long length) {
    if (use_ != SlotUse::writing) {
        errno = EBADF;
        return -1;
    }
    if (length < 0 || length > long{poolSlotSize}) {
        errno = EINVAL;
        return -1;
    }
    pool_.Set(fileNumber_, EntryWord::length, static_cast<std::uint32_t>(length));
    return 0;
}

} // namespace workstation::pool
