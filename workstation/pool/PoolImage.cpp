// A pool image that is in use: its table of files, and ways to its slots.
#include "pool/PoolImage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <bit>
#include <utility>

#include "BigEndian.h"

namespace workstation::pool {
namespace {

static_assert(std::atomic_ref<std::uint32_t>::is_always_lock_free);

// What a number has to look like in memory so that its bytes lie there big-endian, and back.
std::uint32_t ToBigEndian(std::uint32_t value) {
    std::array<unsigned char, 4> bytes{};
    PutBig32(bytes.data(), value);
    return std::bit_cast<std::uint32_t>(bytes);
}

std::uint32_t FromBigEndian(std::uint32_t stored) {
    auto const bytes = std::bit_cast<std::array<unsigned char, 4>>(stored);
    return GetBig32(bytes.data());
}

// The number of files of the image; none unless its header and its size are as they must be.
std::optional<std::uint32_t> SoundFileCount(int descriptor, struct stat const& status,
                                            Trouble& why) {
    if (!S_ISREG(status.st_mode)) {
        Fail(why, EINVAL, "not a regular file");
        return std::nullopt;
    }
    auto const fileCount = ReadPoolHeader(descriptor, why);
    if (!fileCount) {
        return std::nullopt;
    }
    auto const size = static_cast<std::uint64_t>(status.st_size);
    if (size != PoolImageSize(*fileCount)) {
        Fail(why, EUCLEAN, WrongPoolImageSize(size, *fileCount));
        return std::nullopt;
    }
    return fileCount;
}

} // namespace

PoolImage::PoolImage(std::string path, std::uint32_t fileCount, dev_t device, ino_t inode,
                     Mapping mapping)
    : path_(std::move(path))
    , fileCount_(fileCount)
    , device_(device)
    , inode_(inode)
    , mapping_(std::move(mapping)) {}

std::unique_ptr<PoolImage> PoolImage::Open(std::string const& path, Trouble& why) {
    auto image = OpenSound(path, why);
    if (!image) {
        why.text = "pool '" + path + "': " + why.text;
    }
    return image;
}

std::unique_ptr<PoolImage> PoolImage::OpenSound(std::string const& path, Trouble& why) {
    FileDescriptor const file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) {
        FailWithErrno(why, "cannot open");
        return nullptr;
    }
    auto const fileCount = SoundFileCount(file.Get(), status, why);
    if (!fileCount) {
        return nullptr;
    }
    Mapping mapping(file.Get(), static_cast<std::size_t>(PoolDataOffset(*fileCount)),
                    Mapping::Access::change);
    if (!mapping) {
        FailWithErrno(why, "cannot map the table");
        return nullptr;
    }
    return std::unique_ptr<PoolImage>(
        new PoolImage(path, *fileCount, status.st_dev, status.st_ino, std::move(mapping)));
}

bool PoolImage::Create(std::string const& path, std::uint32_t fileCount, Trouble& why) {
    FileDescriptor const file(open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!file) {
        return FailWithErrno(why, "cannot create '" + path + "'");
    }
    PoolHeaderPage const header = EncodePoolHeader(fileCount);
    auto const size = static_cast<off_t>(PoolImageSize(fileCount));
    if (pwrite(file.Get(), header.data(), header.size(), 0) !=
            static_cast<ssize_t>(header.size()) ||
        ftruncate(file.Get(), size) != 0 || fsync(file.Get()) != 0) {
        return FailWithErrno(why, "cannot write '" + path + "'");
    }
    return true;
}

std::uint32_t* PoolImage::Word(int fileNumber, EntryWord word) const {
    std::uint64_t const offset =
        PoolEntryOffset(fileNumber) + sizeof(std::uint32_t) * static_cast<std::size_t>(word);
    return static_cast<std::uint32_t*>(mapping_.Data()) + offset / sizeof(std::uint32_t);
}

std::uint32_t PoolImage::Get(int fileNumber, EntryWord word) const {
    return FromBigEndian(std::atomic_ref(*Word(fileNumber, word)).load());
}

void PoolImage::Set(int fileNumber, EntryWord word, std::uint32_t value) {
    std::atomic_ref(*Word(fileNumber, word)).store(ToBigEndian(value));
}

bool PoolImage::LiesAt(std::string const& path) const {
    struct stat status {};
    return path == path_ && stat(path.c_str(), &status) == 0 && status.st_dev == device_ &&
           status.st_ino == inode_ &&
           static_cast<std::uint64_t>(status.st_size) == PoolImageSize(fileCount_);
}

FileDescriptor PoolImage::OpenDescriptor(int flags) const {
    FileDescriptor file(open(path_.c_str(), flags | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) {
        return {};
    }
    if (status.st_dev != device_ || status.st_ino != inode_) {
        errno = ESTALE;
        return {};
    }
    return file;
}

std::optional<std::uint32_t> ReadPoolHeader(int descriptor, Trouble& why) {
    PoolHeaderPage page{};
    ssize_t const got = pread(descriptor, page.data(), page.size(), 0);
    if (got < 0) {
        FailWithErrno(why, "cannot read the header");
        return std::nullopt;
    }
    if (static_cast<std::size_t>(got) < page.size()) {
        Fail(why, EUCLEAN,
             "not a pool image: " + std::to_string(got) + " bytes are no header page");
        return std::nullopt;
    }
    std::string fault;
    auto const fileCount = DecodePoolHeader(page, fault);
    if (!fileCount) {
        Fail(why, EUCLEAN, fault);
    }
    return fileCount;
}

std::string NoSuchStreamFile(PoolImage const& image, int fileNumber) {
    return "stream file " + std::to_string(fileNumber) + ": the pool has no such file; it has " +
           std::to_string(image.FileCount());
}

std::string LengthBeyondSlot(int fileNumber, std::uint32_t length) {
    return "stream file " + std::to_string(fileNumber) + ": stated length " +
           std::to_string(length) + " is beyond the slot of " + std::to_string(poolSlotSize) +
           " bytes";
}

} // namespace workstation::pool
