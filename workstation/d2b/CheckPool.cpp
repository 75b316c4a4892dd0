// Looks for damage in what a recorder's directory holds of the pool, and puts it right.
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
#include "Root.h"
#include "pool/PoolImage.h"
#include "pool/ProcessTable.h"
#include "pool/RootLock.h"
#include "pool/WriterLock.h"

namespace workstation::d2b {
namespace {

// Carries out a repair and says in `done` what it did. False with `why` when it could not.
using Remedy = std::function<bool(std::string& done, Trouble& why)>;

class PoolCheck {
public:
    explicit PoolCheck(bool repair)
        : repair_(repair) {}

    std::vector<Finding> Run();

private:
    void Found(std::string const& text, Remedy const& remedy);
    void FoundInImage(std::string const& text, Remedy const& remedy);

    // Both return whether the check can go on behind them.
    bool CheckImageFile();
    bool CheckSize(int descriptor, std::uint64_t size, std::uint32_t fileCount);

    std::optional<std::uint32_t> CheckHeader(int descriptor, std::uint64_t size);
    void CheckEntry(pool::PoolImage& pool, int fileNumber);
    void CheckProcesses(pool::PoolImage* pool);

    bool repair_;
    std::string path_ = PoolPath();
    std::vector<Finding> findings_;
};

bool NoRemedy(std::string& /*done*/, Trouble& why) {
    return Fail(why, EUCLEAN, "it cannot be repaired");
}

bool WriteAt(int descriptor, void const* data, std::size_t size, std::uint64_t offset,
             Trouble& why) {
    return pwrite(descriptor, data, size, static_cast<off_t>(offset)) ==
               static_cast<ssize_t>(size) ||
           FailWithErrno(why, "cannot write");
}

// Sets the stated length of every file to 0 whose data reaches beyond `size`. What is cut off of
// the table itself needs nothing: it comes back as zeros.
bool EmptyLostFiles(int descriptor, std::uint64_t size, std::uint32_t fileCount, std::string& lost,
                    Trouble& why) {
    for (int number = 1; number <= static_cast<int>(fileCount); ++number) {
        std::array<unsigned char, 4> word{};
        std::uint64_t const offset =
            pool::PoolEntryOffset(number) + pool::poolEntrySize - word.size();
        if (pread(descriptor, word.data(), word.size(), static_cast<off_t>(offset)) !=
            static_cast<ssize_t>(word.size())) {
            return true;
        }
        std::uint32_t const length = GetBig32(word.data());
        if (length == 0 || pool::PoolSlotOffset(fileCount, number) + length <= size) {
            continue;
        }
        word.fill(0);
        if (!WriteAt(descriptor, word.data(), word.size(), offset, why)) {
            return false;
        }
        lost.append(" ").append(std::to_string(number));
    }
    return true;
}

std::vector<Finding> PoolCheck::Run() {
    std::unique_ptr<pool::PoolImage> pool;
    if (CheckImageFile()) {
        Trouble why;
        pool = pool::PoolImage::Open(path_, why);
        if (!pool) {
            Found(why.text, NoRemedy);
        }
    }
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
    std::string done;
    Trouble why;
    if (remedy(done, why)) {
        findings_.push_back({text + "; " + done, false});
    } else {
        findings_.push_back({text + "; not repaired: " + why.text, true});
    }
}

// The whole image is changed only by its owner.
void PoolCheck::FoundInImage(std::string const& text, Remedy const& remedy) {
    Found("pool '" + path_ + "': " + text, [&](std::string& done, Trouble& why) {
        FileDescriptor const ownership = pool::LockRoot(why);
        return ownership && remedy(done, why);
    });
}

bool PoolCheck::CheckImageFile() {
    FileDescriptor file(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    Trouble why;
    if (!file || fstat(file.Get(), &status) != 0) {
        FailWithErrno(why, "cannot open");
        FoundInImage(why.text, NoRemedy);
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        return false; // a pool of ordinary files: that is for fsck
    }
    if (!S_ISREG(status.st_mode)) {
        FoundInImage("not a regular file", NoRemedy);
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
    Trouble damage;
    if (auto const fileCount = pool::ReadPoolHeader(descriptor, damage)) {
        return fileCount;
    }
    auto const bySize = pool::PoolFileCountOfSize(size);
    FoundInImage(damage.text, [&](std::string& done, Trouble& why) {
        if (!bySize) {
            return Fail(why, EUCLEAN,
                        std::to_string(size) + " bytes are the size of no pool image");
        }
        pool::PoolHeaderPage const page = pool::EncodePoolHeader(*bySize);
        done = "rebuilt for " + std::to_string(*bySize) + " stream files";
        return WriteAt(descriptor, page.data(), page.size(), 0, why);
    });
    return findings_.back().remains ? std::nullopt : bySize;
}

bool PoolCheck::CheckSize(int descriptor, std::uint64_t size, std::uint32_t fileCount) {
    std::uint64_t const needed = pool::PoolImageSize(fileCount);
    if (size == needed) {
        return true;
    }
    std::string const text = pool::WrongPoolImageSize(size, fileCount);
    if (size > needed) {
        FoundInImage(text, NoRemedy);
        return false;
    }
    FoundInImage(text, [&](std::string& done, Trouble& why) {
        std::string lost;
        if (!EmptyLostFiles(descriptor, size, fileCount, lost, why)) {
            return false;
        }
        if (ftruncate(descriptor, static_cast<off_t>(needed)) != 0) {
            return FailWithErrno(why, "cannot extend it");
        }
        done = "extended" + (lost.empty() ? "" : ", length set to 0 for stream files" + lost);
        return true;
    });
    return !findings_.back().remains;
}

void PoolCheck::CheckEntry(pool::PoolImage& pool, int fileNumber) {
    std::string const name = "stream file " + std::to_string(fileNumber);
    auto const settingTo = [&](pool::EntryWord word, std::uint32_t value, char const* what) {
        return [&pool, fileNumber, word, value, what](std::string& done, Trouble& /*why*/) {
            pool.Set(fileNumber, word, value);
            done = what;
            return true;
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
        Found(name + ": controller " + std::to_string(controller) + " without a live writer",
              [&](std::string& done, Trouble& /*why*/) {
                  pool::ResetAbandonedController(pool, fileNumber);
                  done = "reset";
                  return true;
              });
    }
}

void PoolCheck::CheckProcesses(pool::PoolImage* pool) {
    std::string const path = ProcessTablePath();
    if (access(path.c_str(), F_OK) != 0) {
        return; // the first process makes it
    }
    Trouble damage;
    auto const processes = pool::ProcessTable::Open(path, damage);
    if (!processes) {
        Found(damage.text, [&](std::string& done, Trouble& why) {
            done = "removed, the next process makes a new one";
            return unlink(path.c_str()) == 0 || FailWithErrno(why, "cannot remove it");
        });
        return;
    }
    for (int const pid : processes->DeadProcesses()) {
        Found("process table: process " + std::to_string(pid) + " is gone",
              [&](std::string& done, Trouble& why) {
                  if (pool == nullptr) {
                      return Fail(why, EUCLEAN, "the pool cannot be opened");
                  }
                  processes->Reap(*pool);
                  done = "record cleared";
                  return true;
              });
    }
}

} // namespace

std::vector<Finding> CheckPool(bool repair) {
    return PoolCheck(repair).Run();
}

} // namespace workstation::d2b
