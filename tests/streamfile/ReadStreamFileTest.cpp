// A stream file read for nothing.
#include "streamfile/ReadStreamFile.h"

#include "ChunkOfTen.h"
#include "StreamFileTest.h"

namespace {

class ReadStreamFileTest : public StreamFileTest {
protected:
    static constexpr int number = 5;
    static constexpr long untouched = -7;

    bool Read(bool unbounded = false) {
        return ReadStreamFile(number, statedLength, readBytes, unbounded);
    }

    void ExpectCounters(long expectedStatedLength, long expectedReadBytes) const {
        EXPECT_EQ(statedLength, expectedStatedLength);
        EXPECT_EQ(readBytes, expectedReadBytes);
    }

    // The progress marks name the file.
    static std::string NumberMarks(long chunks) {
        std::string marks;
        for (long i = 0; i < chunks / 8; ++i) {
            marks += "5, ";
        }
        return marks;
    }

    static std::string CallsToChunks() {
        return initializeCall + OpenCall(number) + LengthCall(number);
    }

    long statedLength = untouched;
    long readBytes = 0;
};

class ReadOfLength : public ReadStreamFileTest, public ::testing::WithParamInterface<LengthCase> {};

TEST_P(ReadOfLength, TakesEveryByteChunkByChunk) {
    long const length = GetParam().length;
    platform.AddStreamFiles({number}, length);
    EXPECT_TRUE(Read());
    ExpectCounters(length, length);
    ExpectOutput(NumberMarks((length + chunk - 1) / chunk) + "\n", "");
    EXPECT_EQ(platform.Calls(), CallsToChunks() + ReadCalls(number, length) + CloseCall(number));
}

INSTANTIATE_TEST_SUITE_P(Length, ReadOfLength,
                         ::testing::Values(LengthCase{{"OneByte"}, 1},                    //
                                           LengthCase{{"OneChunk"}, aChunk},              //
                                           LengthCase{{"OneByteOverAChunk"}, aChunk + 1}, //
                                           LengthCase{{"ByteOverSeven"}, 7 * aChunk + 1}, //
                                           LengthCase{{"SixteenChunks"}, 16 * aChunk},    //
                                           LengthCase{{"WholeSlot"}, FakePool::slotSize}),
                         NameOfCase());

TEST_F(ReadStreamFileTest, MarksAndTheirEndAreFlushed) {
    platform.AddStreamFiles({number}, 3080192);
    EXPECT_TRUE(Read());
    EXPECT_EQ(platform.Recorded().FlushedOut(), "5, <flush>5, <flush>\n<flush>");
}

TEST_F(ReadStreamFileTest, UnboundedReadTakesTheWholeSlotWithoutAskingForALength) {
    platform.AddStreamFiles({number}, 0);
    EXPECT_TRUE(Read(true));
    ExpectCounters(slot, slot);
    EXPECT_EQ(platform.Calls(), initializeCall + OpenCall(number) + ReadCalls(number, slot, true) +
                                    CloseCall(number));
}

TEST_F(ReadStreamFileTest, FailuresBeforeTheFirstByteAreReportedAsByTheCopy) {
    EXPECT_FALSE(Read());
    platform.AddStreamFiles({number}, 0);
    EXPECT_FALSE(Read());
    platform.Script("DataLength", 2, Fail(EIO));
    EXPECT_FALSE(Read());
    ExpectCounters(untouched, 0);
    ExpectOutput("", "could not open stream file: 2No such file or directory\n"
                     "zero-length file.  File was not copied.\n"
                     "error getting length of file: " +
                         ErrnoText(EIO) + "\n");
}

class ReadOfTenChunks : public ReadStreamFileTest,
                        public ::testing::WithParamInterface<PositionCase> {
protected:
    ReadOfTenChunks() { platform.AddStreamFiles({number}, at.length); }

    ChunkOfTen const at{GetParam().position};
    std::string const callsToChunk =
        CallsToChunks() + ReadCalls(number, at.before) + ReadCall(number, at.request);
};

TEST_P(ReadOfTenChunks, ReadErrorEndsIt) {
    platform.Script("Read", at.position, Fail(EIO));
    EXPECT_FALSE(Read());
    ExpectCounters(at.length, at.before);
    ExpectOutput(NumberMarks(at.position - 1), "Unexpected read status: " + ErrnoText(EIO) + "\n");
    EXPECT_EQ(platform.Calls(), callsToChunk + CloseCall(number));
}

TEST_P(ReadOfTenChunks, ShortReadIsTheLast) {
    platform.Script("Read", at.position, {40});
    EXPECT_TRUE(Read());
    ExpectCounters(at.length, at.before + 40);
    ExpectOutput(NumberMarks(at.position) + "\n", ShortReadLine(at.length, at.request, 40));
    EXPECT_EQ(platform.Calls(), callsToChunk + CloseCall(number));
}

INSTANTIATE_TEST_SUITE_P(At, ReadOfTenChunks, ::testing::ValuesIn(positions), NameOfCase());

} // namespace
