// A whole slot written over a stream file.
#include "streamfile/OverwriteStreamFile.h"

#include <filesystem>

#include "InsertionTest.h"

namespace {

class OverwriteStreamFileTest : public InsertionTest {
protected:
    static constexpr char const* source = "5.ts";

    bool Overwrite(bool unbounded = true) {
        return OverwriteStreamFile(number, statedLength, copied, unbounded);
    }

    std::string CopyingLine() const {
        return "Copying requested stream file from '" + platform.HardDisk(source) +
               "' to D2B filesystem\n";
    }
    static std::string CallsToMove() {
        return initializeCall + OpenSourceCall(source) + OpenTargetCall();
    }

    // What stands in the slot after a source of this size: each chunk as it was read, a partial
    // one over what the buffer held before, and the buffer again and again once there is no more.
    // The read with `shortOrdinal`, counted from 1, brings only `shortCount` bytes.
    static std::string SlotAfter(long sourceSize, int shortOrdinal = 0, long shortCount = 0) {
        std::string buffer(static_cast<std::size_t>(chunk), '\0');
        std::string written;
        written.reserve(static_cast<std::size_t>(slot));
        long offset = 0;
        for (int ordinal = 1; ordinal <= slot / chunk; ++ordinal) {
            long const most = ordinal == shortOrdinal ? shortCount : chunk;
            long const got = std::clamp(sourceSize - offset, 0L, most);
            buffer.replace(0, static_cast<std::size_t>(got), Source(offset, offset + got));
            written += buffer;
            offset += got;
        }
        return written;
    }
};

class OverwriteFromSourceOf : public OverwriteStreamFileTest,
                              public ::testing::WithParamInterface<LengthCase> {};

TEST_P(OverwriteFromSourceOf, FillsTheWholeSlot) {
    PutOnHardDisk(source, Source(0, GetParam().length));
    EXPECT_TRUE(Overwrite());
    ExpectCounters(98566144, 98566144);
    ExpectOutput(CopyingLine() + std::string(64, '.') + "\n", "");
    EXPECT_EQ(platform.Calls(), CallsToMove() + MoveCalls(source, slot) + CallsAfterMove(source));
    ExpectWritten(number, SlotAfter(GetParam().length));
    EXPECT_EQ(platform.pool.files[number].statedLength, 1000) << "the stated length is kept";
}

INSTANTIATE_TEST_SUITE_P(Size, OverwriteFromSourceOf,
                         ::testing::Values(LengthCase{{"Nothing"}, 0},                         //
                                           LengthCase{{"OneByte"}, 1},                         //
                                           LengthCase{{"ThreeChunksAndABit"}, 3 * aChunk + 5}, //
                                           LengthCase{{"TenMegabytes"}, 10 << 20},             //
                                           LengthCase{{"WholeSlot"}, FakePool::slotSize},      //
                                           LengthCase{{"MoreThanASlot"}, FakePool::slotSize + 1}),
                         NameOfCase());

TEST_F(OverwriteStreamFileTest, BoundedFormIsRefusedWithBothFilesOpen) {
    PutOnHardDisk(source, "abc");
    EXPECT_FALSE(Overwrite(false));
    ExpectCounters(untouched, 0);
    ExpectOutput(CopyingLine(), "This operation not allowed while StreamMgr is running \n");
    EXPECT_EQ(platform.Calls(), CallsToMove() + CallsAfterMove(source));
}

TEST_F(OverwriteStreamFileTest, CountOfCopiedBytesWrapsAt32Bits) {
    PutOnHardDisk(source, "abc");
    copied = 2147483647;
    EXPECT_TRUE(Overwrite());
    ExpectCounters(slot, -2147483648L + slot - 1);
}

TEST_F(OverwriteStreamFileTest, SourceThatCannotBeOpenedIsCalledAnOutfile) {
    EXPECT_FALSE(Overwrite());
    ExpectCounters(untouched, 0);
    ExpectOutput("", "Could not open outfile '" + platform.HardDisk(source) +
                         "': 2No such file or directory\n");
    EXPECT_EQ(platform.Calls(), initializeCall + OpenSourceCall(source));
}

TEST_F(OverwriteStreamFileTest, SourceLiesOnTheUsualMountWhenNoOtherIsSet) {
    unsetenv("STREAMMGR_HD");
    EXPECT_FALSE(Overwrite());
    ExpectOutput("", "Could not open outfile '/mnt/hd/5.ts': 2No such file or directory\n");
}

TEST_F(OverwriteStreamFileTest, TargetThatCannotBeOpenedIsReportedWithTheSystemsReason) {
    PutOnHardDisk(source, "abc");
    platform.Script("OpenStreamFile", 1, Fail(EBUSY));
    EXPECT_FALSE(Overwrite());
    ExpectCounters(untouched, 0);
    ExpectOutput(CopyingLine(), "could not open stream file: " + ErrnoText(EBUSY) + "\n");
    EXPECT_EQ(platform.Calls(), CallsToMove() + CloseCall(source));
}

TEST_F(OverwriteStreamFileTest, DirectoryCannotBeRead) {
    std::filesystem::create_directory(platform.HardDisk(source));
    EXPECT_FALSE(Overwrite());
    ExpectCounters(slot, 0);
    ExpectOutput(CopyingLine(), "Unexpected read status: " + ErrnoText(EISDIR) + "\n");
    EXPECT_EQ(platform.Calls(),
              CallsToMove() + ReadSourceCall(source, chunk) + CallsAfterMove(source));
}

// Something happens at one of the 512 chunks.
struct PositionCase : NamedCase {
    int position;
};

class OverwriteOf512Chunks : public OverwriteStreamFileTest,
                             public ::testing::WithParamInterface<PositionCase> {
protected:
    OverwriteOf512Chunks() { PutOnHardDisk(source, Source(0, slot)); }

    int const position = GetParam().position;
    long const before = (position - 1) * chunk;
    std::string const callsBefore = CallsToMove() + MoveCalls(source, before);
    std::string const outBefore = CopyingLine() + Marks(position - 1);
};

TEST_P(OverwriteOf512Chunks, ReadErrorEndsIt) {
    platform.Script("read", position, Fail(EIO));
    EXPECT_FALSE(Overwrite());
    ExpectCounters(slot, before);
    ExpectOutput(outBefore, "Unexpected read status: " + ErrnoText(EIO) + "\n");
    EXPECT_EQ(platform.Calls(),
              callsBefore + ReadSourceCall(source, chunk) + CallsAfterMove(source));
    ExpectWritten(number, Source(0, before));
}

TEST_P(OverwriteOf512Chunks, WriteErrorEndsIt) {
    platform.Script("Write", position, Fail(ENOSPC));
    EXPECT_FALSE(Overwrite());
    ExpectCounters(slot, before);
    ExpectOutput(outBefore, "Unexpected write status: " + ErrnoText(ENOSPC) + "\n");
    EXPECT_EQ(platform.Calls(), callsBefore + ReadSourceCall(source, chunk) +
                                    WriteTargetCall(chunk) + CallsAfterMove(source));
    ExpectWritten(number, Source(0, before));
}

TEST_P(OverwriteOf512Chunks, ShortWriteIsReportedAsAShortReadAndIsTheLast) {
    platform.Script("Write", position, {40});
    EXPECT_TRUE(Overwrite());
    ExpectCounters(slot, before + 40);
    ExpectOutput(CopyingLine() + Marks(position) + "\n",
                 " unexpected EOF: fileSize=98566144 expectedRead=192512  actualRead=40\n");
    EXPECT_EQ(platform.Calls(), callsBefore + ReadSourceCall(source, chunk) +
                                    WriteTargetCall(chunk) + CallsAfterMove(source));
    ExpectWritten(number, Source(0, before + 40));
}

TEST_P(OverwriteOf512Chunks, ShortReadIsNotLookedAt) {
    platform.Script("read", position, {40});
    EXPECT_TRUE(Overwrite());
    ExpectCounters(slot, slot);
    ExpectOutput(CopyingLine() + std::string(64, '.') + "\n", "");
    ExpectWritten(number, SlotAfter(slot, position, 40));
}

INSTANTIATE_TEST_SUITE_P(At, OverwriteOf512Chunks,
                         ::testing::Values(PositionCase{{"First"}, 1}, PositionCase{{"Eighth"}, 8},
                                           PositionCase{{"Middle"}, 256},
                                           PositionCase{{"Last"}, 512}),
                         NameOfCase());

} // namespace
