// Looks for damage in the pool and the process table of a recorder, and repairs it.
#include "d2b/CheckPool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <optional>

#include "BigEndian.h"
#include "Failure.h"
#include "NewFile.h"
#include "Root.h"
#include "d2b/SavedTable.h"
#include "pool/PoolImage.h"
#include "pool/ProcessTable.h"
#include "pool/RootLock.h"
#include "pool/WriterLock.h"
#include "ts/TsPacket.h"

namespace workstation::d2b {
namespace {

// Carries out a repair and returns what it did. Throws Failure when it cannot.
using Remedy = std::function<std::string()>;

class PoolCheck {
public:
    explicit PoolCheck(bool repair)
        : repair_(repair) {}

    std::vector<Finding> Run();

private:
    void Found(std::string const& text, FindingKind kindOnceRepaired, Remedy const& remedy);
    void FoundDamage(std::string const& text, Remedy const& remedy);
    void FoundInImage(std::string const& text, std::uint32_t fileCount, Remedy const& remedy);
    void FoundLeftover(std::string const& text, Remedy const& remedy);

    void OpenProcesses();

    // Null when the image cannot be used, even after repairs.
    std::unique_ptr<pool::PoolImage> CheckImage();

    // Both return whether the check can go on after them.
    bool CheckImageFile();
    bool CheckSize(int descriptor, std::uint64_t size, std::uint32_t fileCount);

    std::optional<std::uint32_t> CheckHeader(int descriptor, std::uint64_t size);
    void CheckEntry(pool::PoolImage& pool, int fileNumber);
    void CheckController(pool::PoolImage& pool, int fileNumber);
    void CheckProcesses(pool::PoolImage* pool);

    void SaveTableOnce(std::uint32_t fileCount);
    void MakeRepairsDurable(pool::PoolImage const& pool);

    bool repair_;
    bool isSaved_ = false;
    std::string path_ = PoolPath();
    std::string image_ = pool::PoolName(path_);
    std::unique_ptr<pool::ProcessTable> processes_; // null when there is none, or it is damaged
    std::string processDamage_;                     // empty unless it is damaged
    std::vector<Finding> findings_;
};

std::string NoRemedy() {
    throw Failure(EUCLEAN, "it cannot be repaired");
}

void WriteAt(int descriptor, void const* data, std::size_t size, std::uint64_t offset) {
    if (pwrite(descriptor, data, size, static_cast<off_t>(offset)) != static_cast<ssize_t>(size)) {
        throw SystemFailure("cannot write");
    }
}

void MakeDurable(int descriptor) {
    if (fsync(descriptor) != 0) {
        throw SystemFailure("cannot make it durable");
    }
}

// How many bytes of a file's slot an image of `size` bytes contains.
std::uint32_t SurvivingBytes(std::uint64_t size, std::uint32_t fileCount, int fileNumber) {
    std::uint64_t const slot = pool::PoolSlotOffset(fileCount, fileNumber);
    return size <= slot ? 0
                        : static_cast<std::uint32_t>(
                              std::min<std::uint64_t>(size - slot, pool::poolSlotSize));
}

// Shortens the stated length of every file whose data extend beyond `size` to the whole packets
// before it. Returns a description of each change, with a comma before it. Entries that were cut
// off need nothing: extending the image makes them zeros.
std::string ShortenCutFiles(int descriptor, std::uint64_t size, std::uint32_t fileCount) {
    std::string shortened;
    std::string emptied;
    for (int number = 1; number <= static_cast<int>(fileCount); ++number) {
        std::array<unsigned char, 4> word{};
        std::uint64_t const offset =
            pool::PoolEntryOffset(number) + pool::poolEntrySize - word.size();
        if (pread(descriptor, word.data(), word.size(), static_cast<off_t>(offset)) !=
            static_cast<ssize_t>(word.size())) {
            break;
        }
        std::uint32_t const length = GetBig32(word.data());
        std::uint32_t const surviving = SurvivingBytes(size, fileCount, number);
        if (length <= surviving || surviving == pool::poolSlotSize) {
            continue;
        }
        auto const kept =
            static_cast<std::uint32_t>(surviving / ts::tsPacketSize * ts::tsPacketSize);
        PutBig32(word.data(), kept);
        WriteAt(descriptor, word.data(), word.size(), offset);
        if (kept > 0) { // the cut goes through one slot at most
            shortened = ", " + pool::StreamFileName(number) + " cut from " +
                        std::to_string(length) + " to " + std::to_string(kept) + " bytes";
        } else {
            emptied.append(" ").append(std::to_string(number));
        }
    }
    return shortened + (emptied.empty() ? "" : ", length set to 0 for stream files" + emptied);
}

std::vector<Finding> PoolCheck::Run() {
    OpenProcesses();
    auto const pool = CheckImage();
    for (int number = 1; pool && number <= pool->FileCount(); ++number) {
        CheckEntry(*pool, number);
    }
    CheckProcesses(pool.get());
    if (pool && repair_ && !findings_.empty()) {
        MakeRepairsDurable(*pool);
    }
    return std::move(findings_);
}

void PoolCheck::Found(std::string const& text, FindingKind kindOnceRepaired, Remedy const& remedy) {
    try {
        std::string const done = remedy(); // may add a finding of its own
        findings_.push_back({text + "; " + done, kindOnceRepaired});
    } catch (Failure const& failure) {
        findings_.push_back({text + "; not repaired: " + failure.what(), FindingKind::remains});
    }
}

void PoolCheck::FoundDamage(std::string const& text, Remedy const& remedy) {
    if (repair_) {
        Found(text, FindingKind::repaired, remedy);
    } else {
        findings_.push_back({text, FindingKind::remains});
    }
}

// The whole image is changed only by the owner of the directory.
void PoolCheck::FoundInImage(std::string const& text, std::uint32_t fileCount,
                             Remedy const& remedy) {
    FoundDamage(text, [&] {
        FileDescriptor const ownership = pool::LockRoot();
        SaveTableOnce(fileCount);
        return remedy();
    });
}

// What a killed process left is no damage.
void PoolCheck::FoundLeftover(std::string const& text, Remedy const& remedy) {
    if (repair_) {
        Found(text, FindingKind::note, remedy);
    } else {
        findings_.push_back(
            {text + "; the next process that uses the pool clears it", FindingKind::note});
    }
}

void PoolCheck::SaveTableOnce(std::uint32_t fileCount) {
    if (!isSaved_) {
        findings_.push_back(
            {image_ + ": header and table of files saved as '" + SaveTable(path_, fileCount) + "'",
             FindingKind::note});
        isSaved_ = true;
    }
}

void PoolCheck::MakeRepairsDurable(pool::PoolImage const& pool) {
    try {
        pool.SyncTable();
    } catch (Failure const& failure) {
        findings_.push_back({failure.what(), FindingKind::remains});
    }
}

void PoolCheck::OpenProcesses() {
    std::string const path = ProcessTablePath();
    if (access(path.c_str(), F_OK) != 0) {
        return; // the first process makes it
    }
    try {
        processes_ = pool::ProcessTable::Open(path);
    } catch (Failure const& damage) {
        processDamage_ = damage.what();
    }
}

std::unique_ptr<pool::PoolImage> PoolCheck::CheckImage() {
    if (!CheckImageFile()) {
        return nullptr;
    }
    try {
        return pool::PoolImage::Open(path_);
    } catch (Failure const& failure) {
        FoundDamage(failure.what(), NoRemedy);
        return nullptr;
    }
}

bool PoolCheck::CheckImageFile() {
    FileDescriptor file(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) {
        throw SystemFailure(image_ + ": cannot open");
    }
    if (S_ISDIR(status.st_mode)) {
        return false; // a pool of ordinary files: fsck checks it
    }
    if (!S_ISREG(status.st_mode)) {
        FoundDamage(image_ + ": not a regular file", NoRemedy);
        return false;
    }
    if (repair_) {
        file.Reset(open(path_.c_str(), O_RDWR | O_CLOEXEC));
        if (!file) {
            throw SystemFailure(image_ + ": cannot open");
        }
    }
    auto const size = static_cast<std::uint64_t>(status.st_size);
    auto const fileCount = CheckHeader(file.Get(), size);
    return fileCount && CheckSize(file.Get(), size, *fileCount);
}

std::optional<std::uint32_t> PoolCheck::CheckHeader(int descriptor, std::uint64_t size) {
    try {
        return pool::ReadPoolHeader(descriptor, image_);
    } catch (Failure const& damage) {
        auto const bySize = pool::PoolFileCountOfSize(size);
        if (!bySize) {
            FoundDamage(damage.what(), [&]() -> std::string {
                throw Failure(EUCLEAN,
                              std::to_string(size) + " bytes are the size of no pool image");
            });
            return std::nullopt;
        }
        FoundInImage(damage.what(), *bySize, [&] {
            pool::PoolHeaderPage const page = pool::EncodePoolHeader(*bySize);
            WriteAt(descriptor, page.data(), pool::poolServiceAreaOffset, 0);
            MakeDurable(descriptor);
            return "rebuilt for " + std::to_string(*bySize) + " stream files";
        });
        return findings_.back().kind == FindingKind::remains ? std::nullopt : bySize;
    }
}

bool PoolCheck::CheckSize(int descriptor, std::uint64_t size, std::uint32_t fileCount) {
    std::uint64_t const needed = pool::PoolImageSize(fileCount);
    if (size == needed) {
        return true;
    }
    std::string const text = image_ + ": " + pool::WrongPoolImageSize(size, fileCount);
    if (size > needed) {
        FoundDamage(text, NoRemedy);
        return false;
    }
    FoundInImage(text, fileCount, [&] {
        // In this order: once the image has its size, nothing shows which data are missing.
        std::string const shortened = ShortenCutFiles(descriptor, size, fileCount);
        MakeDurable(descriptor);
        if (ftruncate(descriptor, static_cast<off_t>(needed)) != 0) {
            throw SystemFailure("cannot extend it");
        }
        MakeDurable(descriptor);
        return "extended" + shortened;
    });
    return findings_.back().kind != FindingKind::remains;
}

void PoolCheck::CheckEntry(pool::PoolImage& pool, int fileNumber) {
    std::string const name = pool::StreamFileName(fileNumber);
    auto const settingTo = [&](pool::EntryWord word, std::uint32_t value, char const* what) {
        return [&, word, value, what] {
            SaveTableOnce(static_cast<std::uint32_t>(pool.FileCount()));
            pool.Set(fileNumber, word, value);
            return what;
        };
    };
    std::uint32_t const length = pool.Get(fileNumber, pool::EntryWord::length);
    if (length > pool::poolSlotSize) {
        FoundDamage(pool::LengthBeyondSlot(fileNumber, length),
                    settingTo(pool::EntryWord::length, pool::poolSlotSize, "clipped"));
    }
    std::uint32_t const dbMatch = pool.Get(fileNumber, pool::EntryWord::dbMatch);
    if (dbMatch > 1) {
        FoundDamage(name + ": database match is " + std::to_string(dbMatch) + ", neither 0 nor 1",
                    settingTo(pool::EntryWord::dbMatch, 0, "set to 0"));
    }
    std::uint32_t const readers = pool.Get(fileNumber, pool::EntryWord::atomicReaders);
    if (readers > std::numeric_limits<std::int32_t>::max()) {
        FoundDamage(name + ": number of atomic readers is negative",
                    settingTo(pool::EntryWord::atomicReaders, 0, "set to 0"));
    }
    CheckController(pool, fileNumber);
}

void PoolCheck::CheckController(pool::PoolImage& pool, int fileNumber) {
    std::uint32_t const controller = pool.Get(fileNumber, pool::EntryWord::controller);
    if (controller == 0 || pool::HasWriter(pool, fileNumber)) {
        return;
    }
    std::string const text = pool::StreamFileName(fileNumber) + ": controller " +
                             std::to_string(controller) + " without a live writer";
    auto const reset = [&] {
        pool::ResetAbandonedController(pool, fileNumber);
        return "reset";
    };
    if (processes_ != nullptr && processes_->ListsWriter(fileNumber)) {
        FoundLeftover(text, reset);
        return;
    }
    FoundDamage(text, [&] {
        SaveTableOnce(static_cast<std::uint32_t>(pool.FileCount()));
        return reset();
    });
}

void PoolCheck::CheckProcesses(pool::PoolImage* pool) {
    if (!processDamage_.empty()) {
        FoundDamage(processDamage_, [] {
            std::filesystem::path const path = ProcessTablePath();
            if (unlink(path.c_str()) != 0) {
                throw SystemFailure("cannot remove it");
            }
            SyncDirectory(path.parent_path());
            return "removed, the next process makes a new one";
        });
    }
    if (processes_ == nullptr) {
        return;
    }
    for (int const pid : processes_->DeadProcesses()) {
        FoundLeftover("process table: process " + std::to_string(pid) + " is gone", [&] {
            if (pool == nullptr) {
                throw Failure(EUCLEAN, "the pool cannot be opened");
            }
            processes_->Reap(*pool);
            return "record cleared";
        });
    }
}

} // namespace

std::vector<Finding> CheckPool(bool repair) {
    return PoolCheck(repair).Run();
}

} // namespace workstation::d2b
