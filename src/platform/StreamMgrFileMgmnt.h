// The tables that everyone who works on the pool shares: the entry of each stream file, and the
// processes and threads that have one open.
#pragma once

class StreamMgrFileMgmnt {
public:
    // Who writes a stream file.
    enum Control_t : int {
        ControlUnknown = 0, // nobody
        ControlPrimaryThread = 1,
        ControlStream1 = 2,
        ControlStream2 = 3,
        ControlStream3 = 4,
        ControlStream4 = 5,
        ControlNonFile = 6,
        ControlExternalProc = 7,
    };

    // What the table of files says of one stream file.
    struct FileMgmnt_t {
        Control_t writeController;
        bool streamDbMatch;    // the stream database knows the file as it is
        int numProcAtomicRead; // processes that read the file and must find it unchanged
        unsigned int fileSize; // stated data length in bytes
    };

    StreamMgrFileMgmnt();
    // Unmaps the process table.
    ~StreamMgrFileMgmnt();

    StreamMgrFileMgmnt(StreamMgrFileMgmnt const&) = delete;
    StreamMgrFileMgmnt& operator=(StreamMgrFileMgmnt const&) = delete;

    // Maps the process table for looking at it. The three arguments select a table, creation and
    // write access on the recorder; 0, false, false is the only combination in use. False when
    // there is no table or it is damaged.
    bool Initialize(int table, bool create, bool writable);

    // The process table as it lies in shared memory, in the machine's byte order; null when it is
    // not mapped. Owned by this object; other processes change it at any time.
    //
    //   0    28 bytes  header
    //   28   128 records of 772 bytes:
    //          0    process id, signed 32-bit; below 1: the record is free
    //          4    64 thread slots of 12 bytes:
    //                 0  marker; 0: the slot is free
    //                 4  thread handle, unsigned 32-bit
    //                 8  number of the stream file it works on, signed 32-bit
    unsigned char const* ProcessTable() const;

private:
    unsigned char const* processTable_ = nullptr;
};
