// A stream file of the pool that is open.
#pragma once

#include <cstdint>
#include <memory>

#include "FileDescriptor.h"
#include "Trouble.h"
#include "pool/PoolImage.h"
#include "pool/PoolSession.h"
#include "pool/ReadAhead.h"

namespace workstation::pool {

// Belongs to one thread at a time. Where an operation fails it sets errno. In a child process that
// inherited it, nothing that is shared with the parent is released by its end.
class StreamFile {
public:
    // Null on failure, with errno's value in `why`: ENOENT for a number that the pool does not
    // have or when none is loaded, EUCLEAN for a damaged table entry.
    static std::unique_ptr<StreamFile> OpenForReading(int fileNumber, Trouble& why);

    // The same, and EBUSY while somebody else writes the file. `controller` (not 0) is what the
    // table of files shows until the file is closed.
    static std::unique_ptr<StreamFile> OpenForWriting(int fileNumber, std::uint32_t controller,
                                                      Trouble& why);

    ~StreamFile();
    StreamFile(StreamFile const&) = delete;
    StreamFile& operator=(StreamFile const&) = delete;

    // The stated length in bytes as the table has it now, or -1.
    long Length() const;

    // Returns how many bytes were read: fewer than `count` only at the stated end or, unbounded,
    // at the end of the slot. -1 on failure.
    int Read(void* buffer, unsigned int count, bool unbounded);

    // Returns how many bytes were written: fewer than `count` only at the end of the slot. -1 on
    // failure.
    int Write(void const* buffer, unsigned int count);

    // Returns the new position, or -1 (EINVAL) for one outside the slot.
    long Seek(long offset);

    // Sets the stated length. Returns 0, or -1: EINVAL for one that is longer than the slot, EBADF
    // when the file is not open for writing.
    long SetLength(long length);

private:
    StreamFile(PoolImage& pool, int fileNumber, FileDescriptor file, SlotUse use);

    static std::unique_ptr<StreamFile> Open(int fileNumber, SlotUse use, Trouble& why);
    bool BecomeWriter(std::uint32_t controller);
    unsigned int Available(std::uint32_t end, unsigned int count) const;

    PoolImage& pool_; // lives as long as the process
    int fileNumber_;
    FileDescriptor file_;
    SlotUse use_;
    int owner_; // the process that opened the file
    ThreadSlot* listed_;
    ReadAhead readAhead_;
    std::uint32_t position_ = 0; // at most the size of a slot
};

} // namespace workstation::pool
