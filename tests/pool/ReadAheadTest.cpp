// What is fetched into memory while a stream file is read.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "StreamFileAccess.h"
#include "pool/TestRoot.h"

namespace workstation {
namespace {

constexpr unsigned int chunk = 192512;
constexpr std::size_t page = 4096;

class ReadAheadTest : public testing::Test {
protected:
    // A pool of two files, both with data on the disk, none of it in memory.
    ReadAheadTest() {
        root_.MakePool(2);
        EXPECT_TRUE(pool_.InitializeFileAccess(false, true));
        auto bytes = Pattern(16 * 1024 * 1024);
        for (int number : {1, 2}) {
            StreamFileAccess file(number, false, StreamMgrFileMgmnt::ControlExternalProc);
            for (long const at : {0L, 0x5E00000L - 16 * 1024 * 1024}) {
                EXPECT_EQ(file.Seek(at), at);
                EXPECT_GT(file.Write(bytes.data(), static_cast<unsigned int>(bytes.size())), 0);
            }
            EXPECT_EQ(file.Truncate(1024L * 1024), 0);
        }
        FileDescriptor const image(open(root_.Pool().c_str(), O_RDONLY | O_CLOEXEC));
        fsync(image.Get());
        posix_fadvise(image.Get(), 0, 0, POSIX_FADV_DONTNEED);
    }

    // How many of the bytes in [from, to) of the image are in memory, by whole pages.
    std::size_t Resident(std::uint64_t from, std::uint64_t to) const {
        FileDescriptor const image(open(root_.Pool().c_str(), O_RDONLY | O_CLOEXEC));
        std::size_t const size = to - from;
        void* const data =
            mmap(nullptr, size, PROT_READ, MAP_SHARED, image.Get(), static_cast<off_t>(from));
        std::vector<unsigned char> pages(size / page);
        mincore(data, size, pages.data());
        munmap(data, size);
        return static_cast<std::size_t>(
                   std::count_if(pages.begin(), pages.end(), [](auto p) { return (p & 1) != 0; })) *
               page;
    }

    static constexpr std::uint64_t first = 8192;
    static constexpr std::uint64_t second = 8192 + 98566144;
    static constexpr std::uint64_t end = 8192 + 2 * std::uint64_t{98566144};

    TestRoot root_;
    StreamFileAccess pool_;
    std::vector<unsigned char> buffer_ = std::vector<unsigned char>(chunk);
};

TEST_F(ReadAheadTest, WindowIsFetchedAheadOfTheReader) {
    if (Resident(first, end) != 0) {
        GTEST_SKIP() << "this file system keeps everything in memory";
    }
    StreamFileAccess file(1, 0);
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(file.Read(buffer_.data(), chunk, true), static_cast<int>(chunk));
    }
    // The disk answers when it likes.
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (Resident(first, second) < std::size_t{4} * 1024 * 1024) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::yield();
    }
    EXPECT_LE(Resident(first, second), std::size_t{5} * 1024 * 1024);
}

TEST_F(ReadAheadTest, NothingBehindTheStatedEndIsFetched) {
    if (Resident(first, end) != 0) {
        GTEST_SKIP() << "this file system keeps everything in memory";
    }
    StreamFileAccess file(1, 0);
    while (file.Read(buffer_.data(), chunk, false) == static_cast<int>(chunk)) {
    }
    EXPECT_EQ(Resident(first, end), std::size_t{1024} * 1024);
}

TEST_F(ReadAheadTest, NothingOfTheNextSlotIsFetched) {
    if (Resident(first, end) != 0) {
        GTEST_SKIP() << "this file system keeps everything in memory";
    }
    StreamFileAccess file(1, 0);
    ASSERT_GT(file.Seek(0x5E00000 - 4 * static_cast<long>(chunk)), 0);
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(file.Read(buffer_.data(), chunk, true), static_cast<int>(chunk));
    }
    EXPECT_EQ(Resident(second, end), 0U);
}

} // namespace
} // namespace workstation
