// The table of processes and threads that use the pool (docs/process-table.md).
#include "pool/ProcessTable.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <limits>

#include "Failure.h"
#include "FileDescriptor.h"
#include "pool/PoolImage.h"
#include "pool/WriterLock.h"

namespace workstation::pool {
namespace {

// In a table of a machine with the other byte order, its bytes are in reverse order.
constexpr std::uint32_t tableMagic = 0x53505442; // "SPTB"
constexpr std::uint32_t tableVersion = 1;

constexpr ProcessTableHeader soundHeader = {
    tableMagic,
    tableVersion,
    sizeof(ProcessTableHeader),
    ProcessTableData::recordCount,
    sizeof(ProcessRecord),
    ProcessRecord::slotCount,
    sizeof(ThreadSlot),
};

static_assert(std::atomic_ref<std::uint32_t>::is_always_lock_free);
static_assert(std::atomic_ref<std::int32_t>::is_always_lock_free);

// The words after the magic number.
constexpr std::array headerWords = {
    &ProcessTableHeader::version,        &ProcessTableHeader::headerSize,
    &ProcessTableHeader::recordCount,    &ProcessTableHeader::recordSize,
    &ProcessTableHeader::slotsPerRecord, &ProcessTableHeader::slotSize,
};

template <typename T>
T Load(T& word) {
    return std::atomic_ref(word).load();
}

template <typename T>
bool Exchange(T& word, T expected, T desired) {
    return std::atomic_ref(word).compare_exchange_strong(expected, desired);
}

// Whether a header is right. In a table that is still being made, words may also be zero.
bool IsSound(ProcessTableHeader& header) {
    std::uint32_t const magic = Load(header.magic);
    bool const isMade = magic == tableMagic;
    return (isMade || magic == 0) &&
           std::all_of(headerWords.begin(), headerWords.end(), [&](auto word) {
               std::uint32_t const value = Load(header.*word);
               return value == soundHeader.*word || (!isMade && value == 0);
           });
}

// Other processes that make the table at the same time write the same.
void MakeHeader(ProcessTableHeader& header) {
    for (auto word : headerWords) {
        std::atomic_ref(header.*word).store(soundHeader.*word);
    }
    std::atomic_ref(header.magic).store(tableMagic);
}

constexpr std::uint32_t Marker(int pid, SlotUse use) {
    return static_cast<std::uint32_t>(pid) * 4 + static_cast<std::uint32_t>(use);
}

constexpr bool IsMarkerOf(std::uint32_t marker, int pid) {
    return marker / 4 == static_cast<std::uint32_t>(pid);
}

constexpr bool IsWriting(std::uint32_t marker) {
    return marker % 4 == static_cast<std::uint32_t>(SlotUse::writing);
}

bool IsGone(int pid) {
    return kill(pid, 0) != 0 && errno == ESRCH;
}

// The process that a record belongs to: its owner or, while it is being cleared, the process that
// clears it.
int Holder(std::int32_t pidWord) {
    return pidWord >= 0 ? pidWord : -std::max(pidWord, -std::numeric_limits<std::int32_t>::max());
}

bool IsAbandoned(std::int32_t pidWord) {
    return pidWord != 0 && IsGone(Holder(pidWord));
}

// Clears the slots of a record whose pid word shows that this process is clearing it.
void ClearSlots(ProcessRecord& record, PoolImage& pool) {
    for (auto& slot : record.slots) {
        std::uint32_t const marker = Load(slot.marker);
        std::int32_t const fileNumber = Load(slot.fileNumber);
        if (IsWriting(marker) && pool.Has(fileNumber)) {
            ResetAbandonedController(pool, fileNumber);
        }
        Exchange(slot.marker, marker, 0U);
    }
}

// A thread that claimed a slot while its process ended may have left it in a free record.
void ClearForeignSlots(ProcessRecord& record) {
    for (auto& slot : record.slots) {
        std::uint32_t const marker = Load(slot.marker);
        if (!IsMarkerOf(marker, getpid())) {
            Exchange(slot.marker, marker, 0U);
        }
    }
}

// False when another process was faster.
bool ClearRecord(ProcessRecord& record, std::int32_t pidWord, PoolImage& pool) {
    std::int32_t const beingCleared = -getpid();
    if (!Exchange(record.pid, pidWord, beingCleared)) {
        return false;
    }
    ClearSlots(record, pool);
    std::atomic_ref(record.pid).store(0);
    return true;
}

SharedMapping MapTable(int descriptor, std::string const& path, SharedMapping::Access access) {
    std::string const name = "process table '" + path + "'";
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        throw SystemFailure(name);
    }
    if (!S_ISREG(status.st_mode) || status.st_size != sizeof(ProcessTableData)) {
        throw Failure(EUCLEAN, name + ": " + std::to_string(status.st_size) + " bytes, not " +
                                   std::to_string(sizeof(ProcessTableData)));
    }
    SharedMapping mapping(descriptor, sizeof(ProcessTableData), access, "cannot map the " + name);
    if (!IsSound(static_cast<ProcessTableData*>(mapping.Data())->header)) {
        throw Failure(EUCLEAN, name + ": the header is not of this version");
    }
    return mapping;
}

// A file of zeros is an empty table, so it does not matter who extends a new file first.
bool ExtendNewFile(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 &&
           (status.st_size != 0 || ftruncate(descriptor, sizeof(ProcessTableData)) == 0);
}

} // namespace

std::unique_ptr<ProcessTable> ProcessTable::Open(std::string const& path) {
    mkdir(std::filesystem::path(path).parent_path().c_str(), 0700);
    FileDescriptor const file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
    if (!file || !ExtendNewFile(file.Get())) {
        throw SystemFailure("cannot make the process table '" + path + "'");
    }
    SharedMapping mapping = MapTable(file.Get(), path, SharedMapping::Access::readWrite);
    MakeHeader(static_cast<ProcessTableData*>(mapping.Data())->header);
    return std::unique_ptr<ProcessTable>(new ProcessTable(std::move(mapping)));
}

SharedMapping ProcessTable::MapReadOnly(std::string const& path) {
    FileDescriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) {
        throw SystemFailure("cannot open the process table '" + path + "'");
    }
    return MapTable(file.Get(), path, SharedMapping::Access::readOnly);
}

bool ProcessTable::Register(PoolImage& pool) {
    Reap(pool);
    while (ProcessRecord* const namesake = RecordOfThisProcess()) {
        ClearRecord(*namesake, getpid(), pool);
    }
    return ClaimRecord();
}

bool ProcessTable::ClaimRecord() {
    for (auto& record : Data().records) {
        if (Exchange(record.pid, 0, getpid())) {
            ClearForeignSlots(record);
            return true;
        }
    }
    return false;
}

void ProcessTable::Unregister(PoolImage& pool) noexcept {
    int const pid = getpid();
    for (auto& record : Data().records) {
        if (Load(record.pid) != pid) {
            continue;
        }
        for (auto& slot : record.slots) {
            std::uint32_t const marker = Load(slot.marker);
            std::int32_t const fileNumber = Load(slot.fileNumber);
            if (IsMarkerOf(marker, pid) && IsWriting(marker) && pool.Has(fileNumber)) {
                pool.Set(fileNumber, EntryWord::controller, 0);
            }
            Exchange(slot.marker, marker, 0U);
        }
        Exchange(record.pid, pid, 0);
    }
}

unsigned ProcessTable::Reap(PoolImage& pool) {
    unsigned reaped = 0;
    for (auto& record : Data().records) {
        std::int32_t const pidWord = Load(record.pid);
        // Only one thread of this process reaps at a time, so another process with its id left
        // this.
        bool const leftByNamesake = pidWord == -getpid();
        if ((leftByNamesake || IsAbandoned(pidWord)) && ClearRecord(record, pidWord, pool)) {
            ++reaped;
        }
    }
    return reaped;
}

std::vector<int> ProcessTable::DeadProcesses() const {
    std::vector<int> dead;
    for (auto& record : Data().records) {
        std::int32_t const pidWord = Load(record.pid);
        if (IsAbandoned(pidWord)) {
            dead.push_back(Holder(pidWord));
        }
    }
    return dead;
}

bool ProcessTable::ListsWriter(int fileNumber) const {
    auto const writes = [&](ThreadSlot& slot) {
        return IsWriting(Load(slot.marker)) && Load(slot.fileNumber) == fileNumber;
    };
    return std::ranges::any_of(Data().records, [&](ProcessRecord& record) {
        return Load(record.pid) != 0 && std::ranges::any_of(record.slots, writes);
    });
}

ProcessRecord* ProcessTable::RecordOfThisProcess() const {
    int const pid = getpid();
    for (auto& record : Data().records) {
        if (Load(record.pid) == pid) {
            return &record;
        }
    }
    return nullptr;
}

ThreadSlot* ProcessTable::Claim(SlotUse use, int fileNumber) {
    ProcessRecord* const record = RecordOfThisProcess();
    if (record == nullptr) {
        return nullptr;
    }
    std::uint32_t const claiming = Marker(getpid(), SlotUse::claiming);
    for (auto& slot : record->slots) {
        if (!Exchange(slot.marker, 0U, claiming)) {
            continue;
        }
        std::atomic_ref(slot.handle).store(static_cast<std::uint32_t>(gettid()));
        std::atomic_ref(slot.fileNumber).store(fileNumber);
        Exchange(slot.marker, claiming, Marker(getpid(), use));
        if (Load(record->pid) == getpid()) {
            return &slot;
        }
        Release(slot, use); // the record was freed meanwhile
        return nullptr;
    }
    return nullptr;
}

void ProcessTable::Release(ThreadSlot& slot, SlotUse use) {
    Exchange(slot.marker, Marker(getpid(), use), 0U);
}

} // namespace workstation::pool
