// Access to the pool of stream files: numbered slots of 0x5E00000 bytes, each with a stated data
// length of its own.
#pragma once

#include <memory>

#include "StreamMgrFileMgmnt.h"

// A default-constructed object represents the whole pool; one constructed with a file number
// represents that file, open for reading or for writing, with a position of its own that starts
// at 0.
//
// The pool operations may be called from several threads at once. An open file belongs to one
// thread at a time; any number of them may be open, also of the same file.
//
// When an operation fails, errno holds the reason.
class StreamFileAccess {
public:
    // Where the pool is: 1 on an EXT4 file system, 2 in the pre-allocated pool (D2B); any other
    // value: unknown. Valid before main begins.
    static int fileSystemType;

    // The pool as a whole.
    StreamFileAccess();

    // Opens a stream file for reading; `mode` is 0. Check IsOpen: errno is ENOENT for a number that
    // the pool does not have, EUCLEAN for a damaged table entry.
    StreamFileAccess(int fileNumber, int mode);

    // Opens a stream file for writing as `controller`, which stands in the table of files until the
    // file is closed; `append` is false. Check IsOpen: errno is EBUSY while another writer has the
    // file open.
    StreamFileAccess(int fileNumber, bool append, StreamMgrFileMgmnt::Control_t controller);

    // Closes the file.
    ~StreamFileAccess();

    StreamFileAccess(StreamFileAccess const&) = delete;
    StreamFileAccess& operator=(StreamFileAccess const&) = delete;

    // Opens the pool and registers this process in the process table. May be called again, from any
    // thread. The tool passes (false, true): it does not protect the files that it reads from the
    // reaper, and it is listed in the process table. False, after an entry in the log with the
    // reason, when there is no usable pool.
    bool InitializeFileAccess(bool atomicRead, bool registerProcess);

    // Removes this process, and the files that it has open, from the shared tables. May be called
    // when nothing was initialised, and in a signal handler.
    void Unload();

    // Number of stream files; valid file numbers are 1 to this. 0 before InitializeFileAccess.
    long GetFilePoolSize();

    // Copies the table entry of a file; false when the pool has no such file.
    bool GetFileInfo(int fileNumber, StreamMgrFileMgmnt::FileMgmnt_t& info);

    bool IsOpen();

    // Stated data length in bytes, never above the slot; 0 for an empty file, negative on failure.
    long DataLength();

    // Reads the next `count` bytes. Returns how many were read: `count`, or fewer at the end of the
    // stated data, or with `unbounded` at the end of the slot. -1 on error.
    int Read(void* buffer, unsigned int count, bool unbounded);

    // Writes the next `count` bytes. Returns `count`, or fewer at the end of the slot. -1 on error.
    // The stated data length stays as it is.
    int Write(void* buffer, unsigned int count);

    // Moves the position to a byte offset from the start. Returns the offset, or -1 on error.
    long Seek(long offset);

    // Sets the stated data length, in bytes, of a file that is open for writing. Returns 0, or -1
    // on error.
    long Truncate(long length);

private:
    class OpenFile;
    std::unique_ptr<OpenFile> file_; // null for the pool as a whole and for a failed open
};
