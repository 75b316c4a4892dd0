// The tables that all processes share that use the pool: the table of files, with an entry for each
// stream file, and the process table, with the processes and threads that have one open.
#pragma once

class StreamMgrFileMgmnt {
public:
    // Who writes a stream file.
    enum Control_t : int {
        ControlUnknown = 0, // no writer
        ControlPrimaryThread = 1,
        ControlStream1 = 2,
        ControlStream2 = 3,
        ControlStream3 = 4,
        ControlStream4 = 5,
        ControlNonFile = 6,
        ControlExternalProc = 7,
    };

    // The entry of one stream file in the table of files.
    struct FileMgmnt_t {
        Control_t writeController;
        bool streamDbMatch;    // the stream database agrees with the file
        int numProcAtomicRead; // number of processes that read the file and need it unchanged
        unsigned int fileSize; // stated data length in bytes
    };

    StreamMgrFileMgmnt();
    // Unmaps the process table.
    ~StreamMgrFileMgmnt();

    StreamMgrFileMgmnt(StreamMgrFileMgmnt const&) = delete;
    StreamMgrFileMgmnt& operator=(StreamMgrFileMgmnt const&) = delete;

    // Maps the process table for reading. On the recorder the arguments select a table, creation
    // and write access; only 0, false, false is used. False when there is no table or it is
    // damaged.
    bool Initialize(int table, bool create, bool writable);

    // The process table in shared memory, in the machine's byte order; null when it is not mapped.
    // Owned by this object. Other processes may change the table at any time. Offsets in bytes:
    //
    //   0    28 bytes  header
    //   28   128 records of 772 bytes:
    //          0    process id, signed 32-bit; below 1: the record is free
    //          4    64 thread slots of 12 bytes:
    //                 0  marker; 0: the slot is free
    //                 4  thread handle, unsigned 32-bit
    //                 8  number of the stream file that the thread has open, signed 32-bit
    unsigned char const* ProcessTable() const;

private:
    unsigned char const* processTable_ = nullptr;
};
