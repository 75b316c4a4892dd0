// Looks for damage in the pool and the process table of a recorder, and repairs it.
#include "d2b/CheckPool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <functional>
#include <limits>
#include <memory>
#include <optional>

#include "BigEndian.h"
#include "Failure.h"
#include "Root.h"
#include "pool/PoolImage.h"
#include "pool/ProcessTable.h"
#include "pool/RootLock.h"
#include "pool/WriterLock.h"

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
    void Found(std::string const& text, Remedy const& remedy);
    void FoundInImage(std::string const& text, Remedy const& remedy);

    // Null when the image cannot be used, even after repairs.
    std::unique_ptr<pool::PoolImage> CheckImage();

    // Both return whether the check can go on after them.
    bool CheckImageFile();
    bool CheckSize(int descriptor, std::uint64_t size, std::uint32_t fileCount);

    std::optional<std::uint32_t> CheckHeader(int descriptor, std::uint64_t size);
    void CheckEntry(pool::PoolImage& pool, int fileNumber);
    void CheckProcesses(pool::PoolImage* pool);

    bool repair_;
    std::string path_ = PoolPath();
    std::string image_ = pool::PoolName(path_);
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

// Sets the stated length of every file to 0 whose data extend beyond `size`. Returns the numbers of
// these files, with a space before each. Entries that were cut off need nothing: extending the
// image makes them zeros.
std::string EmptyLostFiles(int descriptor, std::uint64_t size, std::uint32_t fileCount) {
    std::string lost;
    for (int number = 1; number <= static_cast<int>(fileCount); ++number) {
        std::array<unsigned char, 4> word{};
        std::uint64_t const offset =
            pool::PoolEntryOffset(number) + pool::poolEntrySize - word.size();
        if (pread(descriptor, word.data(), word.size(), static_cast<off_t>(offset)) !=
            static_cast<ssize_t>(word.size())) {
            break;
        }
        std::uint32_t const length = GetBig32(word.data());
        if (length == 0 || pool::PoolSlotOffset(fileCount, number) + length <= size) {
            continue;
        }
        word.fill(0);
        WriteAt(descriptor, word.data(), word.size(), offset);
        lost.append(" ").append(std::to_string(number));
    }
    return lost;
}

std::vector<Finding> PoolCheck::Run() {
    auto const pool = CheckImage();
    for (int number = 1; pool && number <= pool->FileCount(); ++number) {
        CheckEntry(*pool, number);
    }
    CheckProcesses(pool.get());
    return std::move(findings_);
}

void PoolCheck::Found(std::string const& text, Remedy const& remedy) {
    if (!repair_) {
        findings_.push_back({text, true});
        return;
    }
    try {
        findings_.push_back({text + "; " + remedy(), false});
    } catch (Failure const& failure) {
        findings_.push_back({text + "; not repaired: " + failure.what(), true});
    }
}

// The whole image is changed only by the owner of the directory.
void PoolCheck::FoundInImage(std::string const& text, Remedy const& remedy) {
    Found(text, [&] {
        FileDescriptor const ownership = pool::LockRoot();
        return remedy();
    });
}

std::unique_ptr<pool::PoolImage> PoolCheck::CheckImage() {
    if (!CheckImageFile()) {
        return nullptr;
    }
    try {
        return pool::PoolImage::Open(path_);
    } catch (Failure const& failure) {
        Found(failure.what(), NoRemedy);
        return nullptr;
    }
}

bool PoolCheck::CheckImageFile() {
    FileDescriptor file(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) {
        FoundInImage(SystemFailure(image_ + ": cannot open").what(), NoRemedy);
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        return false; // a pool of ordinary files: fsck checks it
    }
    if (!S_ISREG(status.st_mode)) {
        FoundInImage(image_ + ": not a regular file", NoRemedy);
        return false;
    }
    if (repair_) {
        file.Reset(open(path_.c_str(), O_RDWR | O_CLOEXEC));
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
        FoundInImage(damage.what(), [&] {
            if (!bySize) {
                throw Failure(EUCLEAN,
                              std::to_string(size) + " bytes are the size of no pool image");
            }
            pool::PoolHeaderPage const page = pool::EncodePoolHeader(*bySize);
            WriteAt(descriptor, page.data(), page.size(), 0);
            return "rebuilt for " + std::to_string(*bySize) + " stream files";
        });
        return findings_.back().remains ? std::nullopt : bySize;
    }
}

bool PoolCheck::CheckSize(int descriptor, std::uint64_t size, std::uint32_t fileCount) {
    std::uint64_t const needed = pool::PoolImageSize(fileCount);
    if (size == needed) {
        return true;
    }
    std::string const text = image_ + ": " + pool::WrongPoolImageSize(size, fileCount);
    if (size > needed) {
        FoundInImage(text, NoRemedy);
        return false;
    }
    FoundInImage(text, [&] {
        std::string const lost = EmptyLostFiles(descriptor, size, fileCount);
        if (ftruncate(descriptor, static_cast<off_t>(needed)) != 0) {
            throw SystemFailure("cannot extend it");
        }
        return "extended" + (lost.empty() ? "" : ", length set to 0 for stream files" + lost);
    });
    return !findings_.back().remains;
}

void PoolCheck::CheckEntry(pool::PoolImage& pool, int fileNumber) {
    std::string const name = pool::StreamFileName(fileNumber);
    auto const settingTo = [&](pool::EntryWord word, std::uint32_t value, char const* what) {
        return [&pool, fileNumber, word, value, what] {
            pool.Set(fileNumber, word, value);
            return what;
        };
    };
    std::uint32_t const length = pool.Get(fileNumber, pool::EntryWord::length);
    if (length > pool::poolSlotSize) {
        Found(pool::LengthBeyondSlot(fileNumber, length),
              settingTo(pool::EntryWord::length, pool::poolSlotSize, "clipped"));
    }
    std::uint32_t const dbMatch = pool.Get(fileNumber, pool::EntryWord::dbMatch);
    if (dbMatch > 1) {
        Found(name + ": database match is " + std::to_string(dbMatch) + ", neither 0 nor 1",
              settingTo(pool::EntryWord::dbMatch, 0, "set to 0"));
    }
    std::uint32_t const readers = pool.Get(fileNumber, pool::EntryWord::atomicReaders);
    if (readers > std::numeric_limits<std::int32_t>::max()) {
        Found(name + ": number of atomic readers is negative",
              settingTo(pool::EntryWord::atomicReaders, 0, "set to 0"));
    }
    std::uint32_t const controller = pool.Get(fileNumber, pool::EntryWord::controller);
    if (controller != 0 && !pool::HasWriter(pool, fileNumber)) {
        Found(name + ": controller " + std::to_string(controller) + " without a live writer", [&] {
            pool::ResetAbandonedController(pool, fileNumber);
            return "reset";
        });
    }
}

void PoolCheck::CheckProcesses(pool::PoolImage* pool) {
    std::string const path = ProcessTablePath();
    if (access(path.c_str(), F_OK) != 0) {
        return; // the first process makes it
    }
    std::unique_ptr<pool::ProcessTable> processes;
    try {
        processes = pool::ProcessTable::Open(path);
    } catch (Failure const& damage) {
        Found(damage.what(), [&] {
            if (unlink(path.c_str()) != 0) {
                throw SystemFailure("cannot remove it");
            }
            return "removed, the next process makes a new one";
        });
        return;
    }
    for (int const pid : processes->DeadProcesses()) {
        Found("process table: process " + std::to_string(pid) + " is gone", [&] {
            if (pool == nullptr) {
                throw Failure(EUCLEAN, "the pool cannot be opened");
            }
            processes->Reap(*pool);
            return "record cleared";
        });
    }
}

} // namespace

std::vector<Finding> CheckPool(bool repair) {
    return PoolCheck(repair).Run();
}

} // namespace workstation::d2b
