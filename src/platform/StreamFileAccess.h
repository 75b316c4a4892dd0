// Access to the pool of stream files: numbered slots of 0x5E00000 bytes, each with a stated data
// length of its own.
#pragma once

#include <memory>

#include "StreamMgrFileMgmnt.h"

// A default-constructed object stands for the pool as a whole; one made with a file number stands
// for that file, open for reading or for writing, with a position of its own that begins at 0.
//
// The pool operations may be called from several threads at once. An open file belongs to one
// thread at a time; any number of them may be open, also of the same file.
//
// Where an operation reports failure, errno says why.
class StreamFileAccess {
public:
    // What the pool lies on: 1 an EXT4 file system, 2 the pre-allocated pool (D2B), anything else
    // unknown. Valid before main begins.
    static int fileSystemType;

    // The pool as a whole.
    StreamFileAccess();

    // Opens a stream file for reading; the second argument is 0. Ask IsOpen. errno is ENOENT for a
    // number that the pool does not have, EUCLEAN for a damaged table entry.
    StreamFileAccess(int fileNumber, int mode);

    // Opens a stream file for writing as `controller`, which the table of files shows until the
    // file is closed; `append` is false. Ask IsOpen. errno is EBUSY while somebody else writes the
    // file.
    StreamFileAccess(int fileNumber, bool append, StreamMgrFileMgmnt::Control_t controller);

    // Closes the file.
    ~StreamFileAccess();

    StreamFileAccess(StreamFileAccess const&) = delete;
    StreamFileAccess& operator=(StreamFileAccess const&) = delete;

    // Reaches the pool and registers this process in the process table. Harmless to repeat, from
    // any thread. The tool passes (false, true): it does not hold files against the reaper while
    // it reads, and it wants to be listed. False, after an entry in the log that says what is
    // wrong, when there is no usable pool.
    bool InitializeFileAccess(bool atomicRead, bool registerProcess);

    // Gives up the registration of this process with everything that it has open. Harmless when
    // nothing was loaded, and safe in a signal handler.
    void Unload();

    // Number of stream files; valid file numbers are 1 to this. 0 before InitializeFileAccess.
    long GetFilePoolSize();

    // Copies the table entry of a file; false when there is none.
    bool GetFileInfo(int fileNumber, StreamMgrFileMgmnt::FileMgmnt_t& info);

    bool IsOpen();

    // Stated data length in bytes, never above the slot; 0 for an empty file, negative on failure.
    long DataLength();

    // Reads the next `count` bytes. Returns how many there were: `count`, or fewer at the end of
    // the stated data, or with `unbounded` at the end of the slot. -1 on error.
    int Read(void* buffer, unsigned int count, bool unbounded);

    // Writes the next `count` bytes. Returns `count`, or fewer at the end of the slot. -1 on error.
    // The stated data length stays as it is.
    int Write(void* buffer, unsigned int count);

    // Moves the position to a byte offset from the start. Returns it, or -1.
    long Seek(long offset);

    // Sets the stated data length of a file that is open for writing. Returns 0, or -1.
    long Truncate(long length);

private:
    class OpenFile;
    std::unique_ptr<OpenFile> file_; // null for the pool as a whole and for a failed open
};
