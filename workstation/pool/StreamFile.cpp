// An open stream file of the pool.
#include "pool/StreamFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "Failure.h"
#include "pool/WriterLock.h"

namespace workstation::pool {
namespace {

// Calls `transfer` (pread or pwrite) until everything is moved. Throws Failure, whose text begins
// with `problem`.
template <typename Transfer, typename Byte>
void TransferAll(Transfer transfer, int descriptor, Byte* bytes, std::size_t count, off_t offset,
                 char const* problem) {
    while (count > 0) {
        ssize_t const moved = transfer(descriptor, bytes, count, offset);
        if (moved < 0 && errno == EINTR) {
            continue;
        }
        if (moved < 0) {
            throw SystemFailure(problem);
        }
        if (moved == 0) { // the image ends inside of a slot: it was truncated while it was in use
            throw Failure(EIO, std::string(problem) + ": " + std::strerror(EIO));
        }
        bytes += moved;
        count -= static_cast<std::size_t>(moved);
        offset += moved;
    }
}

// The stated length of a file. A damaged entry is not used for anything.
std::uint32_t CheckedLength(PoolImage const& pool, int fileNumber) {
    std::uint32_t const length = pool.Get(fileNumber, EntryWord::length);
    if (length > poolSlotSize) {
        throw Failure(EUCLEAN, LengthBeyondSlot(fileNumber, length));
    }
    return length;
}

// For an offset or a length of a file: neither may be outside the slot.
std::uint32_t CheckedPosition(int fileNumber, long position) {
    if (position < 0 || position > long{poolSlotSize}) {
        throw Failure(EINVAL, StreamFileName(fileNumber) + ": byte " + std::to_string(position) +
                                  " is outside the slot");
    }
    return static_cast<std::uint32_t>(position);
}

Failure NoPoolIsLoaded(int fileNumber) {
    return {ENOENT, StreamFileName(fileNumber) + ": no pool is loaded"};
}

} // namespace

std::unique_ptr<StreamFile> StreamFile::OpenForReading(PoolSession& session, int fileNumber) {
    return Open(session, fileNumber, SlotUse::reading);
}

std::unique_ptr<StreamFile> StreamFile::OpenForWriting(PoolSession& session, int fileNumber,
                                                       Controller controller) {
    auto file = Open(session, fileNumber, SlotUse::writing);
    // The controller is set while the thread is listed and the lock is held: a process that finds
    // one without a lock knows that its writer died.
    file->pool_.Set(fileNumber, EntryWord::controller, static_cast<std::uint32_t>(controller));
    if (session.PoolIfLoaded() != &file->pool_) { // unloaded in the meantime
        throw NoPoolIsLoaded(fileNumber);
    }
    return file;
}

std::unique_ptr<StreamFile> StreamFile::TryOpenForWriting(PoolSession& session, int fileNumber,
                                                          Controller controller) {
    try {
        return OpenForWriting(session, fileNumber, controller);
    } catch (Failure const& failure) {
        if (failure.Error() != EBUSY && failure.Error() != EUCLEAN) {
            throw;
        }
        return nullptr;
    }
}

std::unique_ptr<StreamFile> StreamFile::Open(PoolSession& session, int fileNumber, SlotUse use) {
    PoolImage* const pool = session.PoolIfLoaded();
    if (pool == nullptr) {
        throw NoPoolIsLoaded(fileNumber);
    }
    if (!pool->Has(fileNumber)) {
        throw Failure(ENOENT, NoSuchStreamFile(*pool, fileNumber));
    }
    CheckedLength(*pool, fileNumber);
    FileDescriptor file = pool->OpenDescriptor(use == SlotUse::writing ? O_RDWR : O_RDONLY,
                                               StreamFileName(fileNumber));
    if (use == SlotUse::writing) {
        LockForWriting(file.Get(), fileNumber);
    }
    return std::unique_ptr<StreamFile>(
        new StreamFile(session, *pool, fileNumber, std::move(file), use));
}

StreamFile::StreamFile(PoolSession& session, PoolImage& pool, int fileNumber, FileDescriptor file,
                       SlotUse use)
    : pool_(pool)
    , fileNumber_(fileNumber)
    , file_(std::move(file))
    , use_(use)
    , owner_(getpid())
    , listed_(session.ListThread(use, fileNumber))
    , readAhead_(KernelReadAhead(file_.Get())) {}

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

std::uint32_t StreamFile::Length() const {
    return CheckedLength(pool_, fileNumber_);
}

// How many of `count` bytes lie between the position and `end`.
unsigned int StreamFile::Available(std::uint32_t end, unsigned int count) const {
    return position_ < end ? std::min(count, end - position_) : 0;
}

unsigned int StreamFile::Read(void* buffer, unsigned int count, bool unbounded) {
    std::uint32_t const end = unbounded ? poolSlotSize : Length();
    unsigned int const available = Available(end, count);
    std::uint64_t const slot = pool_.SlotOffset(fileNumber_);
    readAhead_.BeforeRead(file_.Get(), slot + position_, available, slot + end);
    TransferAll(pread, file_.Get(), static_cast<unsigned char*>(buffer), available,
                static_cast<off_t>(slot + position_), "cannot read the stream file");
    position_ += available;
    return available;
}

unsigned int StreamFile::Write(void const* buffer, unsigned int count) {
    unsigned int const available = Available(poolSlotSize, count);
    std::uint64_t const offset = pool_.SlotOffset(fileNumber_) + position_;
    TransferAll(pwrite, file_.Get(), static_cast<unsigned char const*>(buffer), available,
                static_cast<off_t>(offset), "cannot write the stream file");
    writeBehind_.AfterWrite(file_.Get(), offset, available);
    position_ += available;
    return available;
}

void StreamFile::Sync() {
    if (fdatasync(file_.Get()) != 0) {
        throw SystemFailure(StreamFileName(fileNumber_) + ": cannot make its bytes durable");
    }
}

void StreamFile::Seek(long offset) {
    position_ = CheckedPosition(fileNumber_, offset);
}

void StreamFile::SetLength(long length) {
    if (use_ != SlotUse::writing) {
        throw Failure(EBADF, StreamFileName(fileNumber_) + " is not open for writing");
    }
    pool_.Set(fileNumber_, EntryWord::length, CheckedPosition(fileNumber_, length));
}

void StreamFile::SetLengthDurably(long length) {
    Sync();
    SetLength(length);
    pool_.SyncTable();
}

} // namespace workstation::pool
