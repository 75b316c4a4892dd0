// What the tool relies on in a pool of stream files.
#include "StreamFileAccess.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "contract/Scene.h"
#include "fakes/FakePool.h"

namespace {

constexpr long slotSize = 0x5E00000;

class StreamFileAccessContract : public testing::Test {
protected:
    StreamFileAccessContract() {
        scene_.MakePool(3, {{1, 1000}, {2, 500}});
        EXPECT_TRUE(pool_.InitializeFileAccess(false, true));
    }
    ~StreamFileAccessContract() override { pool_.Unload(); }

    // Up to `count` bytes that a file reads next.
    static std::string Read(StreamFileAccess& file, unsigned int count, bool unbounded) {
        std::string bytes(count, '\0');
        int const got = file.Read(bytes.data(), count, unbounded);
        EXPECT_GE(got, 0);
        bytes.resize(static_cast<std::size_t>(got));
        return bytes;
    }

    Scene scene_;
    StreamFileAccess pool_;
};

TEST_F(StreamFileAccessContract, PoolIsReachedAgainAndAgain) {
    EXPECT_TRUE(pool_.InitializeFileAccess(false, true));
    EXPECT_TRUE(pool_.InitializeFileAccess(false, true));
    EXPECT_EQ(pool_.GetFilePoolSize(), 3);
}

TEST_F(StreamFileAccessContract, TableHasTheFilesOfThePoolAndNoOthers) {
    for (int const number : {-1, 0, 4}) {
        StreamMgrFileMgmnt::FileMgmnt_t info{};
        EXPECT_FALSE(pool_.GetFileInfo(number, info)) << number;
    }
    StreamMgrFileMgmnt::FileMgmnt_t info{};
    ASSERT_TRUE(pool_.GetFileInfo(1, info));
    EXPECT_EQ(info.writeController, StreamMgrFileMgmnt::ControlUnknown);
    EXPECT_FALSE(info.streamDbMatch);
    EXPECT_EQ(info.numProcAtomicRead, 0);
    EXPECT_EQ(info.fileSize, 1000U);
}

TEST_F(StreamFileAccessContract, FileThatThePoolDoesNotHaveIsNotOpen) {
    for (int const number : {-1, 0, 4}) {
        errno = 0;
        StreamFileAccess file(number, 0);
        EXPECT_FALSE(file.IsOpen()) << number;
        EXPECT_EQ(errno, ENOENT) << number;
    }
}

TEST_F(StreamFileAccessContract, StatedLengthIsThatOfTheData) {
    for (auto const& [number, length] : {std::pair{1, 1000}, {2, 500}, {3, 0}}) {
        StreamFileAccess file(number, 0);
        ASSERT_TRUE(file.IsOpen()) << number;
        EXPECT_EQ(file.DataLength(), length) << number;
    }
}

TEST_F(StreamFileAccessContract, ReadsGoOnUntilTheStatedEnd) {
    StreamFileAccess file(1, 0);
    EXPECT_EQ(Read(file, 600, false), StreamFileContent(1, 0, 600));
    EXPECT_EQ(Read(file, 600, false), StreamFileContent(1, 600, 400));
    EXPECT_EQ(Read(file, 600, false), "");
}

TEST_F(StreamFileAccessContract, UnboundedReadsGoOnAfterTheStatedEnd) {
    StreamFileAccess file(1, 0);
    EXPECT_EQ(Read(file, 600, true), StreamFileContent(1, 0, 600));
    EXPECT_EQ(Read(file, 600, true), StreamFileContent(1, 600, 600));
}

TEST_F(StreamFileAccessContract, UnboundedReadsEndWithTheSlot) {
    StreamFileAccess file(3, 0);
    file.Seek(slotSize - 100);
    EXPECT_EQ(Read(file, 188, true).size(), 100U);
    EXPECT_EQ(Read(file, 188, true).size(), 0U);
}

TEST_F(StreamFileAccessContract, ReadOfNothingReadsNothing) {
    StreamFileAccess file(1, 0);
    EXPECT_EQ(Read(file, 0, false), "");
    EXPECT_EQ(Read(file, 10, false), StreamFileContent(1, 0, 10));
}

TEST_F(StreamFileAccessContract, SeekMovesTheNextRead) {
    StreamFileAccess file(2, 0);
    EXPECT_EQ(Read(file, 100, false), StreamFileContent(2, 0, 100));
    EXPECT_EQ(file.Seek(450), 450);
    EXPECT_EQ(Read(file, 100, false), StreamFileContent(2, 450, 50));
    EXPECT_EQ(file.Seek(500), 500); // to the end of the data
    EXPECT_EQ(Read(file, 100, false), "");
    EXPECT_EQ(file.Seek(0), 0);
    EXPECT_EQ(Read(file, 100, false), StreamFileContent(2, 0, 100));
}

TEST_F(StreamFileAccessContract, EachObjectHasAPositionOfItsOwn) {
    StreamFileAccess one(1, 0);
    StreamFileAccess other(1, 0);
    EXPECT_EQ(Read(one, 300, false), StreamFileContent(1, 0, 300));
    EXPECT_EQ(Read(other, 100, false), StreamFileContent(1, 0, 100));
    EXPECT_EQ(Read(one, 100, false), StreamFileContent(1, 300, 100));
}

TEST_F(StreamFileAccessContract, WritingLeavesTheStatedLengthToTruncate) {
    std::string content(700, 'w');
    {
        StreamFileAccess file(2, false, StreamMgrFileMgmnt::ControlExternalProc);
        ASSERT_TRUE(file.IsOpen());
        EXPECT_EQ(file.Write(content.data(), 400), 400);
        EXPECT_EQ(file.Write(content.data(), 300), 300);
        EXPECT_EQ(file.Write(content.data(), 0), 0);
    }
    EXPECT_EQ(StreamFileAccess(2, 0).DataLength(), 500);
    {
        StreamFileAccess file(2, false, StreamMgrFileMgmnt::ControlExternalProc);
        EXPECT_EQ(file.Truncate(700), 0);
    }
    EXPECT_EQ(StreamFileAccess(2, 0).DataLength(), 700);
}

TEST_F(StreamFileAccessContract, WhatIsWrittenIsRead) {
    {
        StreamFileAccess file(2, false, StreamMgrFileMgmnt::ControlExternalProc);
        std::string content = "written";
        EXPECT_EQ(file.Write(content.data(), 7), 7);
    }
    {
        StreamFileAccess file(2, false, StreamMgrFileMgmnt::ControlExternalProc);
        std::string content = "WR"; // begins at the start again
        EXPECT_EQ(file.Write(content.data(), 2), 2);
    }
    StreamFileAccess file(2, 0);
    EXPECT_EQ(Read(file, 4, false), "WRit");
    EXPECT_EQ(Read(file, 7, false), "ten" + StreamFileContent(2, 7, 4));
}

TEST_F(StreamFileAccessContract, WritingEndsWithTheSlot) {
    StreamFileAccess file(3, false, StreamMgrFileMgmnt::ControlExternalProc);
    std::string content(slotSize - 100, 'w');
    EXPECT_EQ(file.Write(content.data(), slotSize - 100), slotSize - 100);
    EXPECT_EQ(file.Write(content.data(), 188), 100);
    EXPECT_EQ(file.Write(content.data(), 188), 0);
}

TEST_F(StreamFileAccessContract, FileHasOneWriterAtATime) {
    {
        StreamFileAccess const first(2, false, StreamMgrFileMgmnt::ControlExternalProc);
        errno = 0;
        StreamFileAccess second(2, false, StreamMgrFileMgmnt::ControlExternalProc);
        EXPECT_FALSE(second.IsOpen());
        EXPECT_EQ(errno, EBUSY);
        EXPECT_TRUE(StreamFileAccess(2, 0).IsOpen());
        EXPECT_TRUE(StreamFileAccess(1, false, StreamMgrFileMgmnt::ControlExternalProc).IsOpen());
    }
    EXPECT_TRUE(StreamFileAccess(2, false, StreamMgrFileMgmnt::ControlExternalProc).IsOpen());
}

TEST_F(StreamFileAccessContract, TableShowsTheWriterAndTheLength) {
    StreamMgrFileMgmnt::FileMgmnt_t info{};
    {
        StreamFileAccess file(2, false, StreamMgrFileMgmnt::ControlExternalProc);
        EXPECT_EQ(file.Truncate(300), 0);
        ASSERT_TRUE(pool_.GetFileInfo(2, info));
        EXPECT_EQ(info.writeController, StreamMgrFileMgmnt::ControlExternalProc);
    }
    ASSERT_TRUE(pool_.GetFileInfo(2, info));
    EXPECT_EQ(info.writeController, StreamMgrFileMgmnt::ControlUnknown);
    EXPECT_EQ(info.fileSize, 300U);
}

TEST_F(StreamFileAccessContract, PositionAndLengthStayWithinTheSlot) {
    {
        StreamFileAccess file(1, 0);
        EXPECT_EQ(file.Seek(10), 10);
        EXPECT_EQ(file.Seek(slotSize + 1), -1);
        EXPECT_EQ(Read(file, 5, false), StreamFileContent(1, 10, 5));
        EXPECT_EQ(file.Seek(slotSize), slotSize);
    }
    {
        StreamFileAccess file(1, false, StreamMgrFileMgmnt::ControlExternalProc);
        EXPECT_EQ(file.Truncate(slotSize + 1), -1);
    }
    EXPECT_EQ(StreamFileAccess(1, 0).DataLength(), 1000);
}

} // namespace
