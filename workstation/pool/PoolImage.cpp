// A pool image that is in use: its table of files, and descriptors for its slots.
#include "pool/PoolImage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <bit>
#include <cstring>
#include <utility>

#include "BigEndian.h"
#include "Failure.h"

namespace workstation::pool {
namespace {

static_assert(std::atomic_ref<std::uint32_t>::is_always_lock_free);

// The value whose bytes in memory are those of `value` in big-endian order, and back.
std::uint32_t ToBigEndian(std::uint32_t value) {
    std::array<unsigned char, 4> bytes{};
    PutBig32(bytes.data(), value);
    return std::bit_cast<std::uint32_t>(bytes);
}

std::uint32_t FromBigEndian(std::uint32_t stored) {
    auto const bytes = std::bit_cast<std::array<unsigned char, 4>>(stored);
    return GetBig32(bytes.data());
}

// The number of files of the image. Throws Failure unless its header and its size are right.
std::uint32_t CheckedFileCount(int descriptor, struct stat const& status,
                               std::string const& image) {
    if (!S_ISREG(status.st_mode)) {
        throw Failure(EINVAL, image + ": not a regular file");
    }
    std::uint32_t const fileCount = ReadPoolHeader(descriptor, image);
    auto const size = static_cast<std::uint64_t>(status.st_size);
    if (size != PoolImageSize(fileCount)) {
        throw Failure(EUCLEAN, image + ": " + WrongPoolImageSize(size, fileCount));
    }
    return fileCount;
}

// Gives the file so many bytes of space, as zeros.
void Allocate(int descriptor, off_t size, std::string const& path) {
    int error = EINTR;
    while (error == EINTR) {
        error = posix_fallocate(descriptor, 0, size);
    }
    if (error != 0) {
        throw Failure(error, "cannot allocate " + std::to_string(size) + " bytes for '" + path +
                                 "': " + std::strerror(error));
    }
}

} // namespace

PoolImage::PoolImage(std::string path, std::uint32_t fileCount, dev_t device, ino_t inode,
                     SharedMapping mapping)
    : path_(std::move(path))
    , fileCount_(fileCount)
    , device_(device)
    , inode_(inode)
    , mapping_(std::move(mapping)) {}

std::unique_ptr<PoolImage> PoolImage::Open(std::string const& path) {
    std::string const image = PoolName(path);
    FileDescriptor const file(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) {
        throw SystemFailure(image + ": cannot open");
    }
    std::uint32_t const fileCount = CheckedFileCount(file.Get(), status, image);
    SharedMapping mapping(file.Get(), static_cast<std::size_t>(PoolDataOffset(fileCount)),
                          SharedMapping::Access::readWrite, image + ": cannot map the table");
    return std::unique_ptr<PoolImage>(
        new PoolImage(path, fileCount, status.st_dev, status.st_ino, std::move(mapping)));
}

void PoolImage::Create(std::string const& path, std::uint32_t fileCount, Blocks blocks) {
    FileDescriptor const file(open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!file) {
        throw SystemFailure("cannot create '" + path + "'");
    }
    PoolHeaderPage const header = EncodePoolHeader(fileCount);
    auto const size = static_cast<off_t>(PoolImageSize(fileCount));
    if (blocks == Blocks::allocated) {
        Allocate(file.Get(), size, path);
    }
    if (pwrite(file.Get(), header.data(), header.size(), 0) !=
            static_cast<ssize_t>(header.size()) ||
        ftruncate(file.Get(), size) != 0 || fsync(file.Get()) != 0) {
        throw SystemFailure("cannot write '" + path + "'");
    }
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

void PoolImage::SyncTable() const {
    mapping_.Sync(PoolName(path_) + ": cannot make the table durable");
}

std::span<unsigned char> PoolImage::ServiceArea() const {
    return {static_cast<unsigned char*>(mapping_.Data()) + poolServiceAreaOffset,
            poolServiceAreaSize};
}

bool PoolImage::LiesAt(std::string const& path) const {
    struct stat status {};
    return path == path_ && stat(path.c_str(), &status) == 0 && status.st_dev == device_ &&
           status.st_ino == inode_ &&
           static_cast<std::uint64_t>(status.st_size) == PoolImageSize(fileCount_);
}

FileDescriptor PoolImage::OpenDescriptor(int flags, std::string const& what) const {
    FileDescriptor file(open(path_.c_str(), flags | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) {
        throw SystemFailure(what);
    }
    if (status.st_dev != device_ || status.st_ino != inode_) {
        throw Failure(ESTALE, what + ": " + std::strerror(ESTALE));
    }
    return file;
}

std::string PoolName(std::string const& path) {
    return "pool '" + path + "'";
}

std::uint32_t ReadPoolHeader(int descriptor, std::string const& image) {
    PoolHeaderPage page{};
    ssize_t const got = pread(descriptor, page.data(), page.size(), 0);
    if (got < 0) {
        throw SystemFailure(image + ": cannot read the header");
    }
    if (static_cast<std::size_t>(got) < page.size()) {
        throw Failure(EUCLEAN, image + ": not a pool image: " + std::to_string(got) +
                                   " bytes are no header page");
    }
    return DecodePoolHeader(page, image);
}

std::string NoSuchStreamFile(PoolImage const& image, int fileNumber) {
    return StreamFileName(fileNumber) + ": the pool has no such file; it has " +
           std::to_string(image.FileCount());
}

std::string LengthBeyondSlot(int fileNumber, std::uint32_t length) {
    return StreamFileName(fileNumber) + ": stated length " + std::to_string(length) +
           " is beyond the slot of " + std::to_string(poolSlotSize) + " bytes";
}

} // namespace workstation::pool
