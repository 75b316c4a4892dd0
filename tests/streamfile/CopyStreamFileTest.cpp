// Copies of a stream file to the hard disk.
#include "streamfile/CopyStreamFile.h"

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>

#include "ChunkOfTen.h"
#include "StreamFileTest.h"

namespace {

// One copy of stream file 5. The counters begin with values that show whether they were touched.
class CopyStreamFileTest : public StreamFileTest {
protected:
    static constexpr int number = 5;
    static constexpr char const* output = "5.ts";
    static constexpr long untouched = -7;

    bool Copy(int fileNumber = number, bool unbounded = false) {
        return CopyStreamFile(fileNumber, statedLength, copied, unbounded);
    }

    void ExpectCounters(long expectedStatedLength, long expectedCopied) const {
        EXPECT_EQ(statedLength, expectedStatedLength);
        EXPECT_EQ(copied, expectedCopied);
    }

    std::string CopyingLine() const {
        return "Copying requested stream file to '" + platform.HardDisk(output) + "'\n";
    }

    static std::string CallsToChunks() {
        return initializeCall + OpenCall(number) + LengthCall(number) + CreateCall(output);
    }
    static std::string CallsAfterChunks() { return CloseCall(output) + CloseCall(number); }

    long statedLength = untouched;
    long copied = 0;
};

// ---------------------------------------------------------------------- copies that succeed

class CopyOfLength : public CopyStreamFileTest, public ::testing::WithParamInterface<LengthCase> {};

TEST_P(CopyOfLength, MovesEveryByteChunkByChunk) {
    long const length = GetParam().length;
    platform.AddStreamFiles({number}, length);
    EXPECT_TRUE(Copy());
    ExpectCounters(length, length);
    ExpectOutput(CopyingLine() + Marks((length + chunk - 1) / chunk) + "\n", "");
    EXPECT_EQ(platform.Calls(),
              CallsToChunks() + CopyCalls(number, length, output) + CallsAfterChunks());
    ExpectOnHardDisk(output, StreamFileContent(number, 0, length));
}

INSTANTIATE_TEST_SUITE_P(Length, CopyOfLength,
                         ::testing::Values(LengthCase{{"OneByte"}, 1},                       //
                                           LengthCase{{"OnePacket"}, 188},                   //
                                           LengthCase{{"OneByteShortOfAChunk"}, aChunk - 1}, //
                                           LengthCase{{"OneChunk"}, aChunk},                 //
                                           LengthCase{{"OneByteOverAChunk"}, aChunk + 1},    //
                                           LengthCase{{"SevenChunks"}, 7 * aChunk},          //
                                           LengthCase{{"ByteShortOfEight"}, 8 * aChunk - 1}, //
                                           LengthCase{{"EightChunks"}, 8 * aChunk},          //
                                           LengthCase{{"ByteOverEight"}, 8 * aChunk + 1},    //
                                           LengthCase{{"FifteenChunks"}, 15 * aChunk},       //
                                           LengthCase{{"SixteenChunks"}, 16 * aChunk},       //
                                           LengthCase{{"SeventeenChunks"}, 16 * aChunk + 188}),
                         NameOfCase());

TEST_F(CopyStreamFileTest, FullSlotIs512ChunksAnd64Marks) {
    platform.AddStreamFiles({number}, slot);
    EXPECT_TRUE(Copy());
    ExpectCounters(98566144, 98566144);
    ExpectOutput(CopyingLine() + std::string(64, '.') + "\n", "");
    EXPECT_EQ(platform.Calls(),
              CallsToChunks() + CopyCalls(number, slot, output) + CallsAfterChunks());
    ExpectOnHardDisk(output, StreamFileContent(number, 0, slot));
}

TEST_F(CopyStreamFileTest, UnboundedCopyReadsOnPastTheStatedEndAndDoesNotAskForIt) {
    platform.AddStreamFiles({number}, 1 << 20);
    EXPECT_TRUE(Copy(number, true));
    ExpectCounters(98566144, 98566144);
    ExpectOutput(CopyingLine() + std::string(64, '.') + "\n", "");
    EXPECT_EQ(platform.Calls(), initializeCall + OpenCall(number) + CreateCall(output) +
                                    CopyCalls(number, slot, output, true) + CallsAfterChunks());
    ExpectOnHardDisk(output, StreamFileContent(number, 0, slot));
}

TEST_F(CopyStreamFileTest, UnboundedCopyOfAnEmptyFileIsNotRefused) {
    platform.AddStreamFiles({number}, 0);
    platform.Script("Read", 2, {0});
    EXPECT_TRUE(Copy(number, true));
    ExpectCounters(slot, chunk);
    ExpectOutput(CopyingLine() + "\n",
                 " unexpected EOF: fileSize=98566144 expectedRead=192512  actualRead=0\n");
}

TEST_F(CopyStreamFileTest, MarksAndLinesAreFlushedAsTheyCome) {
    platform.AddStreamFiles({number}, 9 * chunk);
    EXPECT_TRUE(Copy());
    EXPECT_EQ(platform.Recorded().FlushedOut(), CopyingLine() + "<flush>.<flush>\n<flush>");
}

TEST_F(CopyStreamFileTest, OutputComesBetweenTheCallsThatItSpeaksOf) {
    platform.AddStreamFiles({number}, 8 * chunk);
    EXPECT_TRUE(Copy());
    EXPECT_EQ(platform.Recorded().Trace(), CallsToChunks() + "out " + Show(CopyingLine()) + "\n" +
                                               CopyCalls(number, 8 * chunk, output) +
                                               "out \".\\n\"\n" + CallsAfterChunks());
}

TEST_F(CopyStreamFileTest, LongerFileOfThatNameIsReplaced) {
    PutOnHardDisk(output, std::string(5000, 'x'));
    platform.AddStreamFiles({number}, 200);
    EXPECT_TRUE(Copy());
    ExpectOnHardDisk(output, StreamFileContent(number, 0, 200));
}

TEST_F(CopyStreamFileTest, NewFileIsReadableForEverybody) {
    mode_t const mask = umask(0);
    platform.AddStreamFiles({number}, 200);
    EXPECT_TRUE(Copy());
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(platform.HardDisk(output).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

TEST_F(CopyStreamFileTest, TwoCopiesInARowDoNotDisturbEachOther) {
    platform.AddStreamFiles({5, 6}, chunk + 10);
    EXPECT_TRUE(Copy(5));
    EXPECT_TRUE(Copy(6));
    ExpectCounters(chunk + 10, 2 * (chunk + 10));
    ExpectOnHardDisk("5.ts", StreamFileContent(5, 0, chunk + 10));
    ExpectOnHardDisk("6.ts", StreamFileContent(6, 0, chunk + 10));
}

TEST_F(CopyStreamFileTest, CountOfCopiedBytesWrapsAt32Bits) {
    struct Case {
        long before;
        long after;
    };
    platform.AddStreamFiles({number}, 200);
    for (Case const& row :
         {Case{2147483647L - 200, 2147483647L}, Case{2147483647L - 199, -2147483648L},
          Case{2147483647L, -2147483449L}, Case{-2147483648L, -2147483448L}, Case{-200, 0}}) {
        copied = row.before;
        EXPECT_TRUE(Copy());
        ExpectCounters(200, row.after);
    }
}

// ---------------------------------------------------------------------- failures on the way

TEST_F(CopyStreamFileTest, StreamFileThatCannotBeOpenedIsReportedWithTheSystemsReason) {
    PutOnHardDisk(output, "old");
    platform.Script("OpenStreamFile", 1, Fail(EBUSY));
    EXPECT_FALSE(Copy());
    ExpectCounters(untouched, 0);
    ExpectOutput("", "could not open stream file: " + ErrnoText(EBUSY) + "\n");
    EXPECT_EQ(platform.Calls(), initializeCall + OpenCall(number));
    ExpectOnHardDisk(output, "old");
}

TEST_F(CopyStreamFileTest, ReasonFollowsItsNumberWithoutABlank) {
    EXPECT_FALSE(Copy());
    ExpectOutput("", "could not open stream file: 2No such file or directory\n");
}

TEST_F(CopyStreamFileTest, LengthThatCannotBeObtainedIsReportedWithTheSystemsReason) {
    PutOnHardDisk(output, "old");
    platform.AddStreamFiles({number}, 200);
    for (int ordinal = 1; ordinal <= 2; ++ordinal) {
        platform.Script("DataLength", ordinal, {ordinal == 1 ? -1 : -2147483648LL, EIO});
        EXPECT_FALSE(Copy());
    }
    ExpectCounters(untouched, 0);
    std::string const line = "error getting length of file: " + ErrnoText(EIO) + "\n";
    ExpectOutput("", line + line);
    std::string const calls =
        initializeCall + OpenCall(number) + LengthCall(number) + CloseCall(number);
    EXPECT_EQ(platform.Calls(), calls + calls);
    ExpectOnHardDisk(output, "old");
}

TEST_F(CopyStreamFileTest, EmptyFileIsNotCopied) {
    platform.AddStreamFiles({number}, 0);
    EXPECT_FALSE(Copy());
    PutOnHardDisk(output, "old");
    EXPECT_FALSE(Copy());
    ExpectCounters(untouched, 0);
    std::string const line = "zero-length file.  File was not copied.\n";
    ExpectOutput("", line + line);
    ExpectOnHardDisk(output, "old");
}

TEST_F(CopyStreamFileTest, EmptyFileCreatesNoOutput) {
    platform.AddStreamFiles({number}, 0);
    EXPECT_FALSE(Copy());
    EXPECT_FALSE(OnHardDisk(output));
}

// The output cannot be created; the counter of the stated length has been set by then.
class FailedOutput : public CopyStreamFileTest {
protected:
    void ExpectFailure(std::string const& path, int error) {
        platform.AddStreamFiles({number}, 200);
        EXPECT_FALSE(Copy());
        ExpectCounters(200, 0);
        ExpectOutput("", "Could not open outfile '" + path + "': " + ErrnoText(error) + "\n");
    }
};

TEST_F(FailedOutput, IsReportedWithPathAndReason) {
    platform.Script("open", 1, Fail(EACCES));
    ExpectFailure(platform.HardDisk(output), EACCES);
    EXPECT_EQ(platform.Calls(), CallsToChunks() + CloseCall(number));
}

TEST_F(FailedOutput, IsReportedWhenADirectoryHasItsName) {
    std::filesystem::create_directory(platform.HardDisk(output));
    ExpectFailure(platform.HardDisk(output), EISDIR);
}

TEST_F(FailedOutput, IsReportedWhenTheHardDiskIsMissing) {
    setenv("STREAMMGR_HD", platform.HardDisk("missing").c_str(), 1);
    ExpectFailure(platform.HardDisk("missing/5.ts"), ENOENT);
}

TEST_F(FailedOutput, LiesOnTheUsualMountWhenNoOtherIsSet) {
    unsetenv("STREAMMGR_HD");
    ExpectFailure("/mnt/hd/5.ts", ENOENT);
}

TEST_F(FailedOutput, LiesOnTheUsualMountWhenTheOtherIsEmpty) {
    setenv("STREAMMGR_HD", "", 1);
    ExpectFailure("/mnt/hd/5.ts", ENOENT);
}

TEST_F(CopyStreamFileTest, MountIsLookedUpAtEachCopy) {
    platform.AddStreamFiles({number}, 200);
    EXPECT_TRUE(Copy());
    std::filesystem::create_directory(platform.HardDisk("other"));
    setenv("STREAMMGR_HD", platform.HardDisk("other").c_str(), 1);
    EXPECT_TRUE(Copy());
    ExpectOnHardDisk("other/5.ts", StreamFileContent(number, 0, 200));
}

class TenChunks : public CopyStreamFileTest {
protected:
    explicit TenChunks(int position)
        : at(position) {
        platform.AddStreamFiles({number}, at.length);
    }

    std::string CallsBefore() const {
        return CallsToChunks() + CopyCalls(number, at.before, output);
    }

    ChunkOfTen const at;
};

class CopyOfTenChunks : public TenChunks, public ::testing::WithParamInterface<PositionCase> {
protected:
    CopyOfTenChunks()
        : TenChunks(GetParam().position) {}
};

TEST_P(CopyOfTenChunks, ReadErrorEndsItAndLeavesWhatWasWritten) {
    platform.Script("Read", at.position, Fail(EIO));
    EXPECT_FALSE(Copy());
    ExpectCounters(at.length, at.before);
    ExpectOutput(CopyingLine() + Marks(at.position - 1),
                 "Unexpected read status: " + ErrnoText(EIO) + "\n");
    EXPECT_EQ(platform.Calls(), CallsBefore() + ReadCall(number, at.request) + CallsAfterChunks());
    ExpectOnHardDisk(output, StreamFileContent(number, 0, at.before));
}

TEST_P(CopyOfTenChunks, WriteErrorEndsItAndLeavesWhatWasWritten) {
    platform.Script("write", at.position, Fail(ENOSPC));
    EXPECT_FALSE(Copy());
    ExpectCounters(at.length, at.before);
    ExpectOutput(CopyingLine() + Marks(at.position - 1),
                 "Unexpected write status: " + ErrnoText(ENOSPC) + "\n");
    EXPECT_EQ(platform.Calls(), CallsBefore() + ReadCall(number, at.request) +
                                    WriteCall(output, at.request) + CallsAfterChunks());
    ExpectOnHardDisk(output, StreamFileContent(number, 0, at.before));
}

TEST_P(CopyOfTenChunks, ShortWriteIsNotNoticed) {
    platform.Script("write", at.position, {40});
    EXPECT_TRUE(Copy());
    ExpectCounters(at.length, at.length);
    ExpectOutput(CopyingLine() + ".\n", "");
    ExpectOnHardDisk(output, StreamFileContent(number, 0, at.before + 40) +
                                 StreamFileContent(number, at.before + at.request,
                                                   at.length - at.before - at.request));
}

INSTANTIATE_TEST_SUITE_P(At, CopyOfTenChunks, ::testing::ValuesIn(positions), NameOfCase());

class CopyWithAShortRead : public TenChunks, public ::testing::WithParamInterface<ShortReadCase> {
protected:
    CopyWithAShortRead()
        : TenChunks(std::get<PositionCase>(GetParam()).position) {}

    long const got = std::get<ShortCase>(GetParam()).Of(at.request);
};

TEST_P(CopyWithAShortRead, EndsThereAndSucceeds) {
    platform.Script("Read", at.position, {got});
    EXPECT_TRUE(Copy());
    ExpectCounters(at.length, at.before + got);
    ExpectOutput(CopyingLine() + Marks(at.position) + "\n",
                 ShortReadLine(at.length, at.request, got));
    EXPECT_EQ(platform.Calls(), CallsBefore() + ReadCall(number, at.request) +
                                    WriteCall(output, got) + CallsAfterChunks());
    ExpectOnHardDisk(output, StreamFileContent(number, 0, at.before + got));
}

INSTANTIATE_TEST_SUITE_P(At, CopyWithAShortRead,
                         ::testing::Combine(::testing::ValuesIn(positions),
                                            ::testing::ValuesIn(shortReads)),
                         NameOfPair());

// The count goes on to the write as it is, which no system takes; why it does not differs between
// systems.
TEST_F(CopyStreamFileTest, ReadOfLessThanNothingEndsInARefusedWrite) {
    platform.AddStreamFiles({number}, 2 * chunk);
    platform.Script("Read", 2, {-2});
    platform.Script("write", 2, Fail(EINVAL));
    EXPECT_FALSE(Copy());
    ExpectCounters(2 * chunk, chunk);
    ExpectOutput(CopyingLine(), ShortReadLine(2 * chunk, chunk, -2) +
                                    "Unexpected write status: " + ErrnoText(EINVAL) + "\n");
    EXPECT_EQ(platform.Calls(), CallsToChunks() + CopyCalls(number, chunk, output) +
                                    ReadCall(number, chunk) + WriteCallOfMinusTwo(output) +
                                    CallsAfterChunks());
    ExpectOnHardDisk(output, StreamFileContent(number, 0, chunk));
}

// ---------------------------------------------------------------------- full disk

TEST_F(CopyStreamFileTest, FullDiskEndsTheCopy) {
    std::filesystem::create_symlink("/dev/full", platform.HardDisk(output));
    platform.AddStreamFiles({number}, 3 * chunk);
    EXPECT_FALSE(Copy());
    ExpectCounters(3 * chunk, 0);
    ExpectOutput(CopyingLine(), "Unexpected write status: 28No space left on device\n");
    EXPECT_EQ(platform.Calls(),
              CallsToChunks() + CopyCalls(number, chunk, output) + CallsAfterChunks());
}

} // namespace
