// d2b load: files into the pool.
#include "d2b/LoadCommand.h"

#include <gtest/gtest.h>

#include "StreamFileAccess.h"
#include "pool/StreamFile.h"
#include "support/FailureOf.h"
#include "support/Files.h"
#include "support/SyncCalls.h"
#include "support/TestRoot.h"

namespace workstation::d2b {
namespace {

class LoadTest : public testing::Test {
protected:
    LoadTest() { root_.MakePool(2); }

    // The reason of a failure; empty on success.
    static std::string Load(int number, std::string const& source) {
        return FailureOf([&] { LoadIntoPool(number, source); });
    }

    std::string MakeSource(std::size_t size) const {
        auto const bytes = Pattern(size);
        std::string path = root_.Path() + "/source";
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(size));
        return path;
    }

    std::uint32_t Get(int number, pool::EntryWord word) const {
        return pool::PoolImage::Open(root_.Pool())->Get(number, word);
    }

    void Set(int number, pool::EntryWord word, std::uint32_t value) const {
        pool::PoolImage::Open(root_.Pool())->Set(number, word, value);
    }

    TestRoot root_;
};

TEST_F(LoadTest, FileOfAnySizeArrivesWhole) {
    for (std::size_t const size : {0U, 1U, 192511U, 192512U, 192513U, 1000000U}) {
        EXPECT_EQ(Load(2, MakeSource(size)), "");
        EXPECT_EQ(Get(2, pool::EntryWord::length), size);
        pool::PoolSession session;
        session.Load(false);
        auto const file = pool::StreamFile::OpenForReading(session, 2);
        std::vector<unsigned char> bytes(size + 1);
        ASSERT_EQ(file->Read(bytes.data(), static_cast<unsigned int>(size) + 1, false), size);
        bytes.pop_back();
        EXPECT_EQ(bytes, Pattern(size));
    }
}

TEST_F(LoadTest, FullSlotFitsAndOneByteMoreChangesNothing) {
    std::string const source = MakeSource(1000);
    std::filesystem::resize_file(source, 98566144);
    EXPECT_EQ(Load(1, source), "");
    EXPECT_EQ(Get(1, pool::EntryWord::length), 98566144U);
    Set(1, pool::EntryWord::length, 4711);
    std::filesystem::resize_file(source, 98566145);
    EXPECT_EQ(Load(1, source),
              "'" + source + "': 98566145 bytes do not fit into a slot of 98566144");
    EXPECT_EQ(Get(1, pool::EntryWord::length), 4711U);
}

TEST_F(LoadTest, LengthIsStatedAfterTheBytesAreDurable) {
    std::string const source = MakeSource(1000);
    {
        SyncCalls const calls;
        EXPECT_EQ(Load(1, source), "");
        EXPECT_EQ(calls.Names(), (std::vector<std::string>{"fdatasync", "msync"}));
    }
    SyncCalls const calls("fdatasync", EIO);
    EXPECT_EQ(Load(2, source), "stream file 2: cannot make its bytes durable: Input/output error");
    EXPECT_EQ(Get(2, pool::EntryWord::length), 0U);
}

TEST_F(LoadTest, OnlyTheLengthOfTheEntryChanges) {
    Set(1, pool::EntryWord::dbMatch, 1);
    Set(1, pool::EntryWord::atomicReaders, 3);
    EXPECT_EQ(Load(1, MakeSource(5)), "");
    EXPECT_EQ(Get(1, pool::EntryWord::controller), 0U);
    EXPECT_EQ(Get(1, pool::EntryWord::dbMatch), 1U);
    EXPECT_EQ(Get(1, pool::EntryWord::atomicReaders), 3U);
    EXPECT_EQ(Get(2, pool::EntryWord::length), 0U);
}

TEST_F(LoadTest, WhatCannotBeReadIsRefused) {
    EXPECT_EQ(Load(1, "/none"), "cannot open '/none': No such file or directory");
    EXPECT_EQ(Load(1, "/tmp"), "'/tmp' is not a regular file");
    EXPECT_EQ(Load(1, "/dev/zero"), "'/dev/zero' is not a regular file");
}

TEST_F(LoadTest, SourceShorterThanItSaysIsAFailure) {
    std::string const source = "/sys/kernel/uevent_seqnum"; // states 4096 bytes, holds a number
    if (!std::filesystem::exists(source)) {
        GTEST_SKIP() << source << " is missing";
    }
    std::size_t const held = BytesOf(source).size();
    Set(1, pool::EntryWord::length, 4711);
    EXPECT_EQ(Load(1, source),
              "'" + source + "' ended after " + std::to_string(held) + " of 4096 bytes");
    EXPECT_EQ(Get(1, pool::EntryWord::length), 4711U);
    EXPECT_EQ(Get(1, pool::EntryWord::controller), 0U);
}

TEST_F(LoadTest, SourceThatFailsIsAFailure) {
    std::string const source = "/sys/devices/software/power/autosuspend_delay_ms"; // reads as EIO
    if (!std::filesystem::exists(source)) {
        GTEST_SKIP() << source << " is missing";
    }
    EXPECT_EQ(Load(1, source), "cannot read '" + source + "': Input/output error");
    EXPECT_EQ(Get(1, pool::EntryWord::length), 0U);
    EXPECT_EQ(Get(1, pool::EntryWord::controller), 0U);
}

TEST_F(LoadTest, NumberThatThePoolDoesNotHaveIsSaid) {
    for (int const number : {0, -1, 3}) {
        EXPECT_EQ(Load(number, MakeSource(5)), "stream file " + std::to_string(number) +
                                                   ": the pool has no such file; it has 2");
    }
}

TEST_F(LoadTest, FileBeingWrittenIsBusy) {
    StreamFileAccess pool;
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    StreamFileAccess const writer(1, false, StreamMgrFileMgmnt::ControlStream1);
    EXPECT_EQ(Load(1, MakeSource(5)), "stream file 1 is being written already");
    EXPECT_EQ(Get(1, pool::EntryWord::controller), 2U);
    EXPECT_EQ(Get(1, pool::EntryWord::length), 0U);
}

TEST_F(LoadTest, DamagedEntryIsSaid) {
    Set(1, pool::EntryWord::length, 0xFFFFFFFF);
    EXPECT_EQ(Load(1, MakeSource(5)),
              "stream file 1: stated length 4294967295 is beyond the slot of 98566144 bytes");
}

TEST_F(LoadTest, MissingPoolIsSaid) {
    std::string const source = MakeSource(5);
    std::filesystem::remove(root_.Pool());
    EXPECT_EQ(Load(1, source),
              "pool '" + root_.Pool() + "': cannot open: No such file or directory");
}

} // namespace
} // namespace workstation::d2b
