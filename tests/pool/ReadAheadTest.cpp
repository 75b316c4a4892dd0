// What is fetched into memory ahead of a reader.
#include "pool/ReadAhead.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "pool/TestRoot.h"

namespace workstation {
namespace {

constexpr std::uint64_t chunk = 192512;
constexpr std::size_t page = 4096;
constexpr std::uint64_t mebibyte = 1024 * 1024;
constexpr std::uint64_t fileSize = 16 * mebibyte;

class ReadAheadTest : public testing::Test {
protected:
    // A file with data on the disk, none of it in memory.
    void SetUp() override {
        std::string const path = root_.Path() + "/data";
        file_ = FileDescriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        auto const bytes = Pattern(fileSize);
        ASSERT_EQ(write(file_.Get(), bytes.data(), bytes.size()), static_cast<ssize_t>(fileSize));
        ASSERT_EQ(fsync(file_.Get()), 0);
        posix_fadvise(file_.Get(), 0, 0, POSIX_FADV_DONTNEED);
        if (Resident(0, fileSize) != 0) {
            GTEST_SKIP() << "this file system keeps everything in memory";
        }
    }

    // How many of the bytes in [from, to) are in memory, by whole pages.
    std::size_t Resident(std::uint64_t from, std::uint64_t to) const {
        auto const size = static_cast<std::size_t>(to - from);
        void* const data =
            mmap(nullptr, size, PROT_READ, MAP_SHARED, file_.Get(), static_cast<off_t>(from));
        std::vector<unsigned char> pages((size + page - 1) / page);
        EXPECT_EQ(mincore(data, size, pages.data()), 0);
        munmap(data, size);
        auto const isResident = [](unsigned char flags) { return (flags & 1) != 0; };
        return static_cast<std::size_t>(std::count_if(pages.begin(), pages.end(), isResident)) *
               page;
    }

    // The disk answers when it likes.
    void AwaitResident(std::uint64_t from, std::uint64_t to) const {
        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (Resident(from, to) < to - from) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            std::this_thread::yield();
        }
    }

    TestRoot root_;
    FileDescriptor file_;
};

TEST_F(ReadAheadTest, WindowIsFetchedOnceTheReaderReadsOn) {
    ReadAhead readAhead(0);
    readAhead.BeforeRead(file_.Get(), 0, chunk, fileSize);
    EXPECT_EQ(Resident(0, fileSize), 0U) << "one read announces nothing behind it";
    readAhead.BeforeRead(file_.Get(), chunk, chunk, fileSize);
    AwaitResident(0, 4 * mebibyte);
    EXPECT_LE(Resident(0, fileSize), 5 * mebibyte);
}

TEST_F(ReadAheadTest, EveryByteIsFetchedByTheTimeTheLastIsRead) {
    ReadAhead readAhead(0);
    for (std::uint64_t at = 0; at < fileSize; at += chunk) {
        readAhead.BeforeRead(file_.Get(), at, std::min(chunk, fileSize - at), fileSize);
    }
    AwaitResident(0, fileSize);
}

TEST_F(ReadAheadTest, NothingBehindTheEndIsFetched) {
    constexpr std::uint64_t end = 2 * mebibyte + page;
    ReadAhead readAhead(0);
    for (std::uint64_t at = 0; at < end; at += chunk) {
        readAhead.BeforeRead(file_.Get(), at, std::min(chunk, end - at), end);
    }
    AwaitResident(0, end);
    EXPECT_EQ(Resident(end, fileSize), 0U);
}

TEST_F(ReadAheadTest, AnotherPositionBeginsAnew) {
    ReadAhead readAhead(0);
    readAhead.BeforeRead(file_.Get(), 8 * mebibyte, chunk, fileSize);
    readAhead.BeforeRead(file_.Get(), 8 * mebibyte + chunk, chunk, fileSize);
    AwaitResident(8 * mebibyte, 12 * mebibyte);
    EXPECT_EQ(Resident(0, 8 * mebibyte), 0U);
    readAhead.BeforeRead(file_.Get(), 0, chunk, mebibyte);
    readAhead.BeforeRead(file_.Get(), chunk, chunk, mebibyte);
    AwaitResident(0, mebibyte);
    EXPECT_EQ(Resident(mebibyte, 8 * mebibyte), 0U);
}

TEST_F(ReadAheadTest, NothingIsAnnouncedWhereTheKernelReadsFarAhead) {
    ReadAhead readAhead(mebibyte);
    for (std::uint64_t at = 0; at < fileSize; at += chunk) {
        readAhead.BeforeRead(file_.Get(), at, std::min(chunk, fileSize - at), fileSize);
    }
    EXPECT_EQ(Resident(0, fileSize), 0U);
}

TEST(KernelReadAhead, IsTheDefaultWhereThereIsNoDevice) {
    FileDescriptor const memory(memfd_create("memory", MFD_CLOEXEC));
    EXPECT_EQ(KernelReadAhead(memory.Get()), 128U * 1024);
    EXPECT_EQ(KernelReadAhead(-1), 128U * 1024);
}

TEST(KernelReadAhead, IsAWholeNumberOfPages) {
    FileDescriptor const file(open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
    std::uint64_t const size = KernelReadAhead(file.Get());
    EXPECT_GT(size, 0U);
    EXPECT_EQ(size % page, 0U);
}

} // namespace
} // namespace workstation
