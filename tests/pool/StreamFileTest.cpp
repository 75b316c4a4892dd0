// Stream files: reading, writing, positions and lengths.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <iostream>

#include "StreamFileAccess.h"
#include "support/Files.h"
#include "support/LogFile.h"
#include "support/TestRoot.h"

namespace workstation::pool {
namespace {

constexpr unsigned int chunk = 192512;
constexpr long slot = 0x5E00000;

class StreamFileTest : public testing::Test {
protected:
    StreamFileTest() {
        root_.MakePool(3);
        EXPECT_TRUE(pool_.InitializeFileAccess(false, true));
    }

    // Writes the pattern to the start of a stream file and states `length`.
    static void Fill(int number, std::size_t size, long length) {
        auto bytes = Pattern(size);
        StreamFileAccess file(number, false, StreamMgrFileMgmnt::ControlExternalProc);
        ASSERT_TRUE(file.IsOpen());
        ASSERT_EQ(file.Write(bytes.data(), static_cast<unsigned int>(size)),
                  static_cast<int>(size));
        ASSERT_EQ(file.Truncate(length), 0);
    }

    // The sizes of all reads until the first that is short.
    static std::vector<int> ReadAll(int number, bool unbounded) {
        StreamFileAccess file(number, 0);
        std::vector<unsigned char> buffer(chunk);
        std::vector<int> counts;
        do {
            counts.push_back(file.Read(buffer.data(), chunk, unbounded));
        } while (counts.back() == static_cast<int>(chunk));
        return counts;
    }

    void SetLengthInImage(int number, std::uint32_t length) const {
        PoolImage::Open(root_.Pool())->Set(number, EntryWord::length, length);
    }

    TestRoot root_;
    StreamFileAccess pool_;
};

// Expects `call` to fail with -1 and this errno.
#define EXPECT_FAILS(call, error)                                                                  \
    errno = 0;                                                                                     \
    EXPECT_EQ(call, -1);                                                                           \
    EXPECT_EQ(errno, error)

TEST_F(StreamFileTest, BoundedReadEndsAtTheStatedLength) {
    struct {
        long length;
        std::vector<int> counts;
    } const cases[] = {
        {0, {0}},
        {1, {1}},
        {192511, {192511}},
        {192512, {192512, 0}},
        {192513, {192512, 1}},
        {400000, {192512, 192512, 14976}},
    };
    for (auto const& file : cases) {
        Fill(2, 400000, file.length);
        EXPECT_EQ(ReadAll(2, false), file.counts) << "length " << file.length;
    }
}

TEST_F(StreamFileTest, BoundedReadOfAlmostFullFileEndsAtTheStatedLength) {
    for (long const length : {slot - 1, slot}) {
        Fill(2, 1, length);
        std::vector<int> expected(511, 192512);
        expected.push_back(static_cast<int>(length - 511 * 192512));
        if (length == slot) {
            expected.push_back(0);
        }
        EXPECT_EQ(ReadAll(2, false), expected);
    }
}

TEST_F(StreamFileTest, UnboundedReadEndsAtTheSlotWhateverTheLength) {
    std::vector<int> expected(512, 192512);
    expected.push_back(0);
    for (long const length : {0L, 1L, 192513L, slot}) {
        Fill(3, 10, length);
        EXPECT_EQ(ReadAll(3, true), expected);
    }
}

TEST_F(StreamFileTest, ReadThatCrossesTheEndIsShort) {
    Fill(1, 100, 100);
    StreamFileAccess file(1, 0);
    std::vector<unsigned char> buffer(200, 0xEE);
    ASSERT_EQ(file.Seek(slot - 50), slot - 50);
    EXPECT_EQ(file.Read(buffer.data(), 200, true), 50);
    EXPECT_EQ(file.Read(buffer.data(), 200, true), 0);
    ASSERT_EQ(file.Seek(60), 60);
    EXPECT_EQ(file.Read(buffer.data(), 0xFFFFFFFF, false), 40);
    EXPECT_EQ(buffer[39], Pattern(100)[99]);
    EXPECT_EQ(buffer[50], 0xEE);
    ASSERT_EQ(file.Seek(101), 101);
    EXPECT_EQ(file.Read(buffer.data(), 1, false), 0);
}

TEST_F(StreamFileTest, DataIsReadAsItWasWrittenAndHolesAreZeros) {
    Fill(2, 300000, 300000);
    auto const pattern = Pattern(300000);
    StreamFileAccess file(2, 0);
    std::vector<unsigned char> buffer(400000, 0xEE);
    ASSERT_EQ(file.Read(buffer.data(), 400000, true), 400000);
    EXPECT_TRUE(std::equal(pattern.begin(), pattern.end(), buffer.begin()));
    EXPECT_EQ(std::count(buffer.begin() + 300000, buffer.end(), 0), 100000);
}

TEST_F(StreamFileTest, NeighboursAreNotTouchedByAFullSlot) {
    StreamFileAccess file(2, false, StreamMgrFileMgmnt::ControlStream1);
    auto bytes = Pattern(chunk);
    for (int i = 0; i < 512; ++i) {
        ASSERT_EQ(file.Write(bytes.data(), chunk), static_cast<int>(chunk));
    }
    EXPECT_EQ(file.Write(bytes.data(), chunk), 0);
    for (int const neighbour : {1, 3}) {
        StreamFileAccess other(neighbour, 0);
        std::vector<unsigned char> buffer(1000, 0xEE);
        for (long const at : {0L, slot - 1000}) {
            ASSERT_EQ(other.Seek(at), at);
            ASSERT_EQ(other.Read(buffer.data(), 1000, true), 1000);
            EXPECT_EQ(buffer, std::vector<unsigned char>(1000, 0));
        }
    }
}

TEST_F(StreamFileTest, WriteIsShortAtTheEndOfTheSlotAndLeavesTheLength) {
    Fill(1, 10, 10);
    StreamFileAccess file(1, false, StreamMgrFileMgmnt::ControlExternalProc);
    auto bytes = Pattern(100);
    ASSERT_EQ(file.Seek(slot - 30), slot - 30);
    EXPECT_EQ(file.Write(bytes.data(), 100), 30);
    EXPECT_EQ(file.Write(bytes.data(), 100), 0);
    EXPECT_EQ(file.DataLength(), 10);
    std::vector<unsigned char> buffer(100);
    ASSERT_EQ(file.Seek(slot - 30), slot - 30);
    EXPECT_EQ(file.Read(buffer.data(), 100, true), 30);
    EXPECT_TRUE(std::equal(buffer.begin(), buffer.begin() + 30, bytes.begin()));
}

TEST_F(StreamFileTest, LengthIsReadAgainByThoseWhoHaveTheFileOpen) {
    Fill(1, 100, 100);
    StreamFileAccess reader(1, 0);
    StreamFileAccess writer(1, false, StreamMgrFileMgmnt::ControlStream2);
    unsigned char byte = 0;
    for (long const length : {0L, 1L, slot, 5L}) {
        ASSERT_EQ(writer.Truncate(length), 0);
        EXPECT_EQ(reader.DataLength(), length);
    }
    EXPECT_EQ(reader.Seek(4), 4);
    EXPECT_EQ(reader.Read(&byte, 1, false), 1);
    EXPECT_EQ(reader.Read(&byte, 1, false), 0);
    ASSERT_EQ(writer.Truncate(6), 0);
    EXPECT_EQ(reader.Read(&byte, 1, false), 1);
}

TEST_F(StreamFileTest, PositionsAndLengthsOutsideTheSlotAreInvalid) {
    StreamFileAccess file(1, false, StreamMgrFileMgmnt::ControlStream2);
    ASSERT_EQ(file.Truncate(17), 0);
    ASSERT_EQ(file.Seek(5), 5);
    for (long const wrong : {-1L, slot + 1, 0x7FFFFFFFL, -0x7FFFFFFFL - 1}) {
        EXPECT_FAILS(file.Seek(wrong), EINVAL);
        EXPECT_FAILS(file.Truncate(wrong), EINVAL);
    }
    EXPECT_EQ(file.DataLength(), 17);
    std::vector<unsigned char> buffer(100);
    EXPECT_EQ(file.Read(buffer.data(), 100, false), 12) << "the position has moved";
    EXPECT_EQ(file.Seek(0), 0);
    EXPECT_EQ(file.Seek(slot), slot);
    EXPECT_EQ(file.Truncate(slot), 0);
    EXPECT_EQ(file.Truncate(0), 0);
}

TEST_F(StreamFileTest, ReaderCannotChangeAnything) {
    Fill(1, 100, 100);
    StreamFileAccess file(1, 0);
    unsigned char byte = 0x77;
    EXPECT_FAILS(file.Write(&byte, 1), EBADF);
    EXPECT_FAILS(file.Truncate(5), EBADF);
    EXPECT_EQ(file.DataLength(), 100);
    EXPECT_EQ(file.Read(&byte, 1, false), 1);
    EXPECT_EQ(byte, Pattern(1)[0]);
}

TEST_F(StreamFileTest, WhatIsNotOpenFailsEveryCall) {
    StreamFileAccess none(4, 0);
    unsigned char byte = 0;
    for (StreamFileAccess* const file : {&none, &pool_}) {
        EXPECT_FALSE(file->IsOpen());
        EXPECT_FAILS(file->DataLength(), EBADF);
        EXPECT_FAILS(file->Read(&byte, 1, true), EBADF);
        EXPECT_FAILS(file->Write(&byte, 1), EBADF);
        EXPECT_FAILS(file->Seek(0), EBADF);
        EXPECT_FAILS(file->Truncate(0), EBADF);
    }
}

TEST_F(StreamFileTest, NumberThatThePoolDoesNotHaveIsNoEntry) {
    for (int const number : {0, -1, 4, 0x7FFFFFFF, -0x7FFFFFFF - 1}) {
        errno = 0;
        EXPECT_FALSE(StreamFileAccess(number, 0).IsOpen());
        EXPECT_EQ(errno, ENOENT);
        errno = 0;
        EXPECT_FALSE(
            StreamFileAccess(number, false, StreamMgrFileMgmnt::ControlExternalProc).IsOpen());
        EXPECT_EQ(errno, ENOENT);
        StreamMgrFileMgmnt::FileMgmnt_t info{};
        errno = 0;
        EXPECT_FALSE(pool_.GetFileInfo(number, info));
        EXPECT_EQ(errno, ENOENT);
    }
}

TEST_F(StreamFileTest, EntryBeyondTheSlotSpoilsOnlyItsOwnFile) {
    Fill(1, 10, 10);
    SetLengthInImage(2, 98566145);
    for (bool const writing : {false, true}) {
        LogFile const log(root_.Path() + "/log");
        errno = 0;
        if (writing) {
            EXPECT_FALSE(
                StreamFileAccess(2, false, StreamMgrFileMgmnt::ControlExternalProc).IsOpen());
        } else {
            EXPECT_FALSE(StreamFileAccess(2, 0).IsOpen());
        }
        EXPECT_EQ(errno, EUCLEAN);
        EXPECT_EQ(log.Entries().back(),
                  "stream file 2: stated length 98566145 is beyond the slot of 98566144 bytes");
    }
    EXPECT_EQ(ReadAll(1, false), std::vector<int>{10});
    SetLengthInImage(2, 98566144);
    EXPECT_TRUE(StreamFileAccess(2, 0).IsOpen());
}

TEST_F(StreamFileTest, EntryThatIsDamagedWhileOpenFailsTheBoundedCalls) {
    StreamFileAccess file(2, 0);
    SetLengthInImage(2, 0xFFFFFFFF);
    unsigned char byte = 0;
    EXPECT_FAILS(file.DataLength(), EUCLEAN);
    EXPECT_FAILS(file.Read(&byte, 1, false), EUCLEAN);
    EXPECT_EQ(file.Read(&byte, 1, true), 1);
}

TEST_F(StreamFileTest, ImageTruncatedWhileOpenIsAReadErrorNotAnEnd) {
    StreamFileAccess file(2, 0);
    std::filesystem::resize_file(root_.Pool(), 8192 + 98566144 + 100);
    std::vector<unsigned char> buffer(200);
    EXPECT_FAILS(file.Read(buffer.data(), 200, true), EIO);
    EXPECT_EQ(file.Read(buffer.data(), 100, true), 100);
}

TEST_F(StreamFileTest, FailedReadLeavesThePosition) {
    Fill(1, 100, 100);
    StreamFileAccess file(1, 0);
    unsigned char byte = 0;
    EXPECT_FAILS(file.Read(nullptr, 10, false), EFAULT);
    EXPECT_EQ(file.Read(&byte, 1, false), 1);
    EXPECT_EQ(byte, Pattern(1)[0]);
}

TEST_F(StreamFileTest, DescriptorsThatRunOutFailTheOpenOnly) {
    // At its first Failure, the undefined-behaviour sanitizer itself needs descriptors.
    EXPECT_FALSE(StreamFileAccess(99, 0).IsOpen());
    rlimit former{};
    getrlimit(RLIMIT_NOFILE, &former);
    rlimit const few = {3, former.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    errno = 0;
    EXPECT_FALSE(StreamFileAccess(1, 0).IsOpen());
    EXPECT_EQ(errno, EMFILE);
    setrlimit(RLIMIT_NOFILE, &former);
    EXPECT_TRUE(StreamFileAccess(1, 0).IsOpen());
}

TEST_F(StreamFileTest, FileSizeLimitIsAWriteError) {
    signal(SIGXFSZ, SIG_IGN);
    StreamFileAccess file(2, false, StreamMgrFileMgmnt::ControlExternalProc);
    rlimit former{};
    getrlimit(RLIMIT_FSIZE, &former);
    rlimit const small = {8192 + 98566144 + 100, former.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    auto bytes = Pattern(200);
    errno = 0;
    int const written = file.Write(bytes.data(), 200);
    int const error = errno;
    setrlimit(RLIMIT_FSIZE, &former);
    EXPECT_EQ(written, -1);
    EXPECT_EQ(error, EFBIG);
    EXPECT_EQ(file.Write(bytes.data(), 200), 200) << "and the position has stayed";
}

TEST_F(StreamFileTest, TableEntryIsReportedAsItStands) {
    auto const image = PoolImage::Open(root_.Pool());
    image->Set(3, EntryWord::controller, 4);
    image->Set(3, EntryWord::dbMatch, 2); // anything but 0 is a match
    image->Set(3, EntryWord::atomicReaders, 12);
    image->Set(3, EntryWord::length, 0xFFFFFFFF);
    StreamMgrFileMgmnt::FileMgmnt_t info{};
    ASSERT_TRUE(pool_.GetFileInfo(3, info));
    EXPECT_EQ(info.writeController, StreamMgrFileMgmnt::ControlStream3);
    EXPECT_TRUE(info.streamDbMatch);
    EXPECT_EQ(info.numProcAtomicRead, 12);
    EXPECT_EQ(info.fileSize, 0xFFFFFFFF);
    ASSERT_TRUE(pool_.GetFileInfo(1, info));
    EXPECT_EQ(info.writeController, StreamMgrFileMgmnt::ControlUnknown);
    EXPECT_FALSE(info.streamDbMatch);
    EXPECT_EQ(info.numProcAtomicRead, 0);
    EXPECT_EQ(info.fileSize, 0U);
}

} // namespace
} // namespace workstation::pool
