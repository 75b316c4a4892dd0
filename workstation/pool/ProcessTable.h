// The table of processes and threads that use the pool (docs/process-table.md).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pool/SharedMapping.h"

namespace workstation::pool {

class PoolImage;

// The table in shared memory, in the machine's byte order. All words except those of the header may
// change at any time, and are read and written atomically.

struct ProcessTableHeader {
    std::uint32_t magic; // written last: 0 while the table is being made
    std::uint32_t version;
    std::uint32_t headerSize;
    std::uint32_t recordCount;
    std::uint32_t recordSize;
    std::uint32_t slotsPerRecord;
    std::uint32_t slotSize;
};

struct ThreadSlot {
    std::uint32_t marker; // 0: free; else the process id * 4 + SlotUse
    std::uint32_t handle; // the thread's id
    std::int32_t fileNumber;
};

struct ProcessRecord {
    static constexpr std::size_t slotCount = 64;

    // 0: free; negative: being cleared by that process, which also counts as free.
    std::int32_t pid;
    ThreadSlot slots[slotCount];
};

struct ProcessTableData {
    static constexpr std::size_t recordCount = 128;

    ProcessTableHeader header;
    ProcessRecord records[recordCount];
};

static_assert(sizeof(ProcessTableHeader) == 28);
static_assert(sizeof(ThreadSlot) == 12);
static_assert(offsetof(ThreadSlot, marker) == 0);
static_assert(offsetof(ThreadSlot, handle) == 4);
static_assert(offsetof(ThreadSlot, fileNumber) == 8);
static_assert(sizeof(ProcessRecord) == 772);
static_assert(offsetof(ProcessRecord, pid) == 0);
static_assert(offsetof(ProcessRecord, slots) == 4);
static_assert(offsetof(ProcessTableData, header) == 0);
static_assert(offsetof(ProcessTableData, records) == 28);
static_assert(sizeof(ProcessTableData) == 28 + 128 * 772);

enum class SlotUse : std::uint32_t {
    reading = 1,
    writing = 2,
    claiming = 3, // the other words of the slot are not set yet
};

// No operation waits for another process. Register and Reap are for one thread of a process at a
// time; Unregister may be called in a signal handler that interrupts any of the others.
class ProcessTable {
public:
    // Opens the table, and makes it and its directory when they are missing; any number of
    // processes may do so at once. Throws Failure, also (EUCLEAN) when the file is not a process
    // table of this machine.
    static std::unique_ptr<ProcessTable> Open(std::string const& path);

    // The same for reading only: makes nothing.
    static SharedMapping MapReadOnly(std::string const& path);

    // Gives this process a record, after clearing the records of all dead processes. A record with
    // the id of this process was left by a dead one that had the same id. False when the table is
    // full.
    bool Register(PoolImage& pool);

    // Frees the record of this process with its slots, and resets the write controllers of the
    // files that it has open for writing. Safe in a signal handler.
    void Unregister(PoolImage& pool) noexcept;

    // The reaper: clears the records of dead processes and resets the write controllers of the
    // files that they were writing. Returns how many such records there were.
    unsigned Reap(PoolImage& pool);

    // The dead processes that still have a record.
    std::vector<int> DeadProcesses() const;

    // Whether a process lists the file as being written; a killed process still does.
    bool ListsWriter(int fileNumber) const;

    // Takes a thread slot in the record of this process for the calling thread. Null when the
    // process has no record, or no slot is free.
    ThreadSlot* Claim(SlotUse use, int fileNumber);

    // Frees a slot that this process claimed. Does nothing when another process has cleared it.
    static void Release(ThreadSlot& slot, SlotUse use);

private:
    explicit ProcessTable(SharedMapping mapping)
        : mapping_(std::move(mapping)) {}

    ProcessTableData& Data() const { return *static_cast<ProcessTableData*>(mapping_.Data()); }
    ProcessRecord* RecordOfThisProcess() const;
    bool ClaimRecord();

    SharedMapping mapping_;
};

} // namespace workstation::pool
