// An open stream file of the pool.
#pragma once

#include <cstdint>
#include <memory>

#include "FileDescriptor.h"
#include "StreamMgrFileMgmnt.h"
#include "pool/PoolImage.h"
#include "pool/PoolSession.h"
#include "pool/ReadAhead.h"
#include "pool/WriteBehind.h"

namespace workstation::pool {

// Belongs to one thread at a time, and is closed before its session is destroyed. In a child
// process that inherited it, closing it changes nothing that is shared with the parent.
class StreamFile {
public:
    using Controller = StreamMgrFileMgmnt::Control_t;

    // Throws Failure: ENOENT for a number that the pool does not have or when no pool is loaded,
    // EUCLEAN for a damaged table entry, or what open(2) reports.
    static std::unique_ptr<StreamFile> OpenForReading(PoolSession& session, int fileNumber);

    // The same, and EBUSY while the file is open for writing elsewhere. The table of files shows
    // `controller` (not 0) until the file is closed.
    static std::unique_ptr<StreamFile> OpenForWriting(PoolSession& session, int fileNumber,
                                                      Controller controller);

    // The same; null when the file is open for writing elsewhere or its table entry is damaged.
    static std::unique_ptr<StreamFile> TryOpenForWriting(PoolSession& session, int fileNumber,
                                                         Controller controller);

    ~StreamFile();
    StreamFile(StreamFile const&) = delete;
    StreamFile& operator=(StreamFile const&) = delete;

    int Number() const { return fileNumber_; }

    // The stated length in bytes as the table has it now. Throws Failure (EUCLEAN) when that is
    // beyond the slot.
    std::uint32_t Length() const;

    // Reads from the position on. Returns the number of bytes, which is less than `count` only at
    // the stated length or, unbounded, at the end of the slot. Throws Failure; then the position
    // is unchanged.
    unsigned int Read(void* buffer, unsigned int count, bool unbounded);

    // Writes from the position on. Returns the number of bytes, which is less than `count` only at
    // the end of the slot. The stated length stays as it is. Throws Failure; then some of the bytes
    // may have been written, and the position is unchanged.
    unsigned int Write(void const* buffer, unsigned int count);

    // Makes the bytes written so far durable, and what the table of files states by now: it lies in
    // the same image. PoolImage::SyncTable() is enough for the table alone and writes no slot.
    // Throws Failure.
    void Sync();

    // Moves the position to a byte offset. Throws Failure (EINVAL) for one outside the slot.
    void Seek(long offset);

    // Sets the stated length in bytes. Throws Failure: EINVAL for one that is negative or longer
    // than the slot, EBADF when the file is not open for writing.
    void SetLength(long length);

    // The same in an order that a loss of power cannot spoil: what was written becomes durable,
    // then the length is stated, then the table becomes durable. Throws Failure; the length has not
    // been stated unless only the last step failed.
    void SetLengthDurably(long length);

private:
    StreamFile(PoolSession& session, PoolImage& pool, int fileNumber, FileDescriptor file,
               SlotUse use);

    static std::unique_ptr<StreamFile> Open(PoolSession& session, int fileNumber, SlotUse use);
    unsigned int Available(std::uint32_t end, unsigned int count) const;

    PoolImage& pool_; // valid as long as the session
    int fileNumber_;
    FileDescriptor file_;
    SlotUse use_;
    int owner_; // the process that opened the file
    ThreadSlot* listed_;
    ReadAhead readAhead_;
    WriteBehind writeBehind_;
    std::uint32_t position_ = 0; // at most the size of a slot
};

} // namespace workstation::pool
