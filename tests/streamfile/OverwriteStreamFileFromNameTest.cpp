// A named file of the hard disk written over a stream file.
#include "streamfile/OverwriteStreamFileFromName.h"

#include "ChunkOfTen.h"
#include "InsertionTest.h"

namespace {

class InsertByNameTest : public InsertionTest {
protected:
    static constexpr char const* source = "clip.ts";

    bool Insert(bool unbounded = false) {
        return OverwriteStreamFileFromName(endpoint.Ipc(), number, "clip", statedLength, copied,
                                           unbounded);
    }

    std::string CopyingLine() const {
        return "Copying requested stream file from '" + platform.HardDisk(source) +
               "' to D2B file number 5\n";
    }
    static std::string SizeLine(long size) {
        return "fstat returned a file size of " + Show(size) + " bytes\n";
    }
    static std::string NotifyLine(char const* result) {
        return std::string("StreamMgrApi::UpdateFileSize() notify message returned: ") + result +
               "\n";
    }

    static std::string CallsToMove() {
        return initializeCall + OpenSourceCall(source) + OpenTargetCall() + "fstat(clip.ts)\n";
    }
    static std::string CallsThatTell(long size) {
        return FileCall(number, "Truncate(" + Show(size) + ")") + "UpdateFileSize(Client, 5)\n";
    }
};

class InsertOfSize : public InsertByNameTest, public ::testing::WithParamInterface<LengthCase> {};

TEST_P(InsertOfSize, TakesOverLengthAndBytesAndNotifiesTheService) {
    long const size = GetParam().length;
    PutOnHardDisk(source, Source(0, size));
    EXPECT_TRUE(Insert());
    ExpectCounters(size, size);
    ExpectOutput(CopyingLine() + SizeLine(size) + Marks((size + chunk - 1) / chunk) + "\n" +
                     NotifyLine("success"),
                 "");
    std::string const moves =
        size == 0 ? ReadSourceCall(source, 0) + WriteTargetCall(0) : MoveCalls(source, size);
    EXPECT_EQ(platform.Calls(),
              CallsToMove() + moves + CallsThatTell(size) + CallsAfterMove(source));
    ExpectWritten(number, Source(0, size));
    EXPECT_EQ(platform.pool.files[number].statedLength, size);
}

INSTANTIATE_TEST_SUITE_P(Size, InsertOfSize,
                         ::testing::Values(LengthCase{{"Nothing"}, 0},                       //
                                           LengthCase{{"OneByte"}, 1},                       //
                                           LengthCase{{"OneByteShortOfAChunk"}, aChunk - 1}, //
                                           LengthCase{{"OneChunk"}, aChunk},                 //
                                           LengthCase{{"OneByteOverAChunk"}, aChunk + 1},    //
                                           LengthCase{{"EightChunks"}, 8 * aChunk},          //
                                           LengthCase{{"SixteenChunksAndABit"}, 16 * aChunk + 5}),
                         NameOfCase());

TEST_F(InsertByNameTest, FailedNotificationIsReportedAndNoFailure) {
    PutOnHardDisk(source, "abc");
    platform.Script("UpdateFileSize", 1, {0});
    EXPECT_TRUE(Insert());
    ExpectCounters(3, 3);
    ExpectOutput(CopyingLine() + SizeLine(3) + "\n" + NotifyLine("fail"), "");
}

TEST_F(InsertByNameTest, FailedTruncationIsNotLookedAt) {
    PutOnHardDisk(source, "abc");
    platform.Script("Truncate", 1, Fail(EIO));
    EXPECT_TRUE(Insert());
    ExpectOutput(CopyingLine() + SizeLine(3) + "\n" + NotifyLine("success"), "");
}

TEST_F(InsertByNameTest, UnboundedFormPlansTheWholeSlotWithoutAskingForASize) {
    PutOnHardDisk(source, Source(0, slot));
    EXPECT_TRUE(Insert(true));
    ExpectCounters(slot, slot);
    ExpectOutput(CopyingLine() + std::string(64, '.') + "\n" + NotifyLine("success"), "");
    EXPECT_EQ(platform.Calls().find("fstat"), std::string::npos);
    ExpectWritten(number, Source(0, slot));
}

TEST_F(InsertByNameTest, StatedLengthBecomesTheCounter) {
    PutOnHardDisk(source, "abc");
    copied = 1000;
    EXPECT_TRUE(Insert());
    ExpectCounters(3, 1003);
    EXPECT_EQ(platform.pool.files[number].statedLength, 1003);
}

// ---------------------------------------------------------------------- failures before the move

TEST_F(InsertByNameTest, SourceThatCannotBeOpenedIsCalledAnOutfile) {
    EXPECT_FALSE(Insert());
    ExpectCounters(untouched, 0);
    ExpectOutput("", "Could not open outfile '" + platform.HardDisk(source) +
                         "': 2No such file or directory\n");
    EXPECT_EQ(platform.Calls(), initializeCall + OpenSourceCall(source));
}

TEST_F(InsertByNameTest, TargetThatCannotBeOpenedIsReportedWithTheSystemsReason) {
    PutOnHardDisk(source, "abc");
    platform.Script("OpenStreamFile", 1, Fail(EBUSY));
    EXPECT_FALSE(Insert());
    ExpectCounters(untouched, 0);
    ExpectOutput(CopyingLine(), "could not open stream file: " + ErrnoText(EBUSY) + "\n");
    EXPECT_EQ(platform.Calls(),
              initializeCall + OpenSourceCall(source) + OpenTargetCall() + CloseCall(source));
}

// A size of 2 GiB cannot be stated in a signed 32-bit length.
TEST_F(InsertByNameTest, SizeThatCannotBeObtainedIsReportedWithoutAReason) {
    PutOnHardDisk(source, "abc");
    std::string out;
    std::string err;
    std::string calls;
    int ordinal = 0;
    for (Answer const& answer : {Fail(EIO), Answer{0x80000000LL}, Answer{0x80000063LL}}) {
        platform.Script("fstat", ++ordinal, answer);
        EXPECT_FALSE(Insert());
        out += CopyingLine();
        err += "error: fstat() failure on [" + platform.HardDisk(source) + "]\n";
        calls += CallsToMove() + CallsAfterMove(source);
    }
    ExpectCounters(untouched, 0);
    ExpectOutput(out, err);
    EXPECT_EQ(platform.Calls(), calls);
}

TEST_F(InsertByNameTest, LargestSizeIsPlanned) {
    PutOnHardDisk(source, "abc");
    platform.Script("fstat", 1, {0x7fffffff});
    platform.Script("read", 1, Fail(EIO));
    EXPECT_FALSE(Insert());
    ExpectCounters(2147483647, 0);
    ExpectOutput(CopyingLine() + SizeLine(2147483647),
                 "Unexpected read status: " + ErrnoText(EIO) + "\n");
}

// ---------------------------------------------------------------------- failures of the move

class InsertOfTenChunks : public InsertByNameTest,
                          public ::testing::WithParamInterface<PositionCase> {
protected:
    InsertOfTenChunks() { PutOnHardDisk(source, Source(0, length)); }

    static constexpr long length = ChunkOfTen::length;

    ChunkOfTen const at{GetParam().position};
    std::string const callsBefore = CallsToMove() + MoveCalls(source, at.before);
    std::string const callsAt = ReadSourceCall(source, at.request);
    std::string const outBefore = CopyingLine() + SizeLine(length) + Marks(at.position - 1);
};

TEST_P(InsertOfTenChunks, ReadErrorEndsItWithoutTruncatingOrTelling) {
    platform.Script("read", at.position, Fail(EIO));
    EXPECT_FALSE(Insert());
    ExpectCounters(length, at.before);
    ExpectOutput(outBefore, "Unexpected read status: " + ErrnoText(EIO) + "\n");
    EXPECT_EQ(platform.Calls(), callsBefore + callsAt + CallsAfterMove(source));
    ExpectWritten(number, Source(0, at.before));
    EXPECT_EQ(platform.pool.files[number].statedLength, 1000);
}

TEST_P(InsertOfTenChunks, WriteErrorEndsItWithoutTruncatingOrTelling) {
    platform.Script("Write", at.position, Fail(ENOSPC));
    EXPECT_FALSE(Insert());
    ExpectCounters(length, at.before);
    ExpectOutput(outBefore, "Unexpected write status: " + ErrnoText(ENOSPC) + "\n");
    EXPECT_EQ(platform.Calls(),
              callsBefore + callsAt + WriteTargetCall(at.request) + CallsAfterMove(source));
    ExpectWritten(number, Source(0, at.before));
    EXPECT_EQ(platform.pool.files[number].statedLength, 1000);
}

TEST_P(InsertOfTenChunks, ShortWriteIsTheLastAndTheServiceIsNotified) {
    platform.Script("Write", at.position, {40});
    EXPECT_TRUE(Insert());
    ExpectCounters(length, at.before + 40);
    ExpectOutput(CopyingLine() + SizeLine(length) + Marks(at.position) + "\n" +
                     NotifyLine("success"),
                 " unexpected EOF: fileSize=" + Show(length) +
                     " expectedWrite=" + Show(at.request) + "  actualWrite=40\n");
    EXPECT_EQ(platform.Calls(), callsBefore + callsAt + WriteTargetCall(at.request) +
                                    CallsThatTell(at.before + 40) + CallsAfterMove(source));
    ExpectWritten(number, Source(0, at.before + 40));
}

// What the source gave is written, and the rest is read later: a short read is no end, nor is one
// that brings nothing. The empty chunk counts for the marks.
TEST_P(InsertOfTenChunks, ShortReadIsNoEnd) {
    for (long const got : {0L, 40L}) {
        long const readsSoFar = got == 0 ? 0 : 11;
        platform.pool.files[number].written.clear();
        copied = 0;
        platform.Script("read", static_cast<int>(readsSoFar) + at.position, {got});
        EXPECT_TRUE(Insert());
        ExpectCounters(length, length);
        ExpectWritten(number, Source(0, length));
    }
    std::string const once =
        CopyingLine() + SizeLine(length) + Marks(11) + "\n" + NotifyLine("success");
    ExpectOutput(once + once, "");
}

INSTANTIATE_TEST_SUITE_P(At, InsertOfTenChunks, ::testing::ValuesIn(positions), NameOfCase());

// The figure in the message is what was asked of the source, not what it gave.
TEST_F(InsertByNameTest, ShortWriteAfterAShortReadShowsTheRequest) {
    PutOnHardDisk(source, Source(0, 3000));
    platform.Script("read", 1, {2000});
    platform.Script("Write", 1, {500});
    EXPECT_TRUE(Insert());
    ExpectCounters(3000, 500);
    EXPECT_EQ(platform.Err(),
              " unexpected EOF: fileSize=3000 expectedWrite=3000  actualWrite=500\n");
    EXPECT_NE(platform.Calls().find("file5.Write(2000)\n"), std::string::npos);
}

TEST_F(InsertByNameTest, EmptyChunksCountForTheMarks) {
    PutOnHardDisk(source, Source(0, 100));
    for (int ordinal = 1; ordinal <= 15; ++ordinal) {
        platform.Script("read", ordinal, {0});
    }
    EXPECT_TRUE(Insert());
    ExpectOutput(CopyingLine() + SizeLine(100) + "..\n" + NotifyLine("success"), "");
    ExpectWritten(number, Source(0, 100));
}

} // namespace
