// The tick table of a stream file.
#include <cstring>
#include <new>

#include "ChunkOfTen.h"
#include "FailingNew.h"
#include "StreamFileAccess.h"
#include "TickFileTest.h"
#include "streamfile/TickTable.h"

namespace {

// One scan of stream file 5. Counters and table begin with values that show whether they were
// touched.
class GetStreamFileTicksTest : public TickFileTest {
protected:
    static constexpr int number = 5;
    static constexpr long untouched = -7;

    bool Scan(int fileNumber = number, bool unbounded = false) {
        return GetStreamFileTicks(fileNumber, fileSize, bytesRead, unbounded, ticks);
    }

    void ExpectCounters(long expectedFileSize, long expectedBytesRead) const {
        EXPECT_EQ(fileSize, expectedFileSize);
        EXPECT_EQ(bytesRead, expectedBytesRead);
    }

    void ExpectTicks(std::vector<unsigned int> const& expected) const {
        std::vector<unsigned int> found;
        for (auto const& entry : ticks) {
            found.push_back(entry.second.tick);
        }
        EXPECT_EQ(found, expected);
    }
    void ExpectTicksUntouched() const { ExpectTicks({77}); }

    // Checks what is searched: the first bytes of the file, and zeros up to the end of the slot.
    void ExpectSearched(long size) {
        platform.pool.onTickScan = [size](std::vector<unsigned char> const& stream) {
            ASSERT_EQ(stream.size(), 98566144U);
            std::string expected = StreamFileContent(number, 0, size);
            expected.resize(stream.size(), '\0');
            EXPECT_EQ(std::memcmp(stream.data(), expected.data(), stream.size()), 0);
        };
    }

    long fileSize = untouched;
    long bytesRead = 0;
    TickTable ticks = Entries({77});
};

// ---------------------------------------------------------------------- scans that succeed

class ScanOfLength : public GetStreamFileTicksTest,
                     public ::testing::WithParamInterface<LengthCase> {};

TEST_P(ScanOfLength, ReadsTheFileWholeAndReplacesTheTable) {
    long const length = GetParam().length;
    platform.AddStreamFiles({number}, length);
    platform.pool.tickTables = {Entries({10, 11, 12})};
    ExpectSearched(length);
    EXPECT_TRUE(Scan());
    ExpectTicks({10, 11, 12});
    ExpectCounters(length, length);
    EXPECT_EQ(platform.Calls(), ScanCalls(number, length));
    ExpectOutput(Marks((length + chunk - 1) / chunk) + "\n", "");
}

INSTANTIATE_TEST_SUITE_P(Length, ScanOfLength,
                         ::testing::Values(LengthCase{{"OneByte"}, 1},                     //
                                           LengthCase{{"OneChunk"}, aChunk},               //
                                           LengthCase{{"OneByteOverAChunk"}, aChunk + 1},  //
                                           LengthCase{{"SevenChunks"}, 7 * aChunk},        //
                                           LengthCase{{"ByteOverSeven"}, 7 * aChunk + 1},  //
                                           LengthCase{{"EightChunks"}, 8 * aChunk},        //
                                           LengthCase{{"SeventeenChunks"}, 17 * aChunk},   //
                                           LengthCase{{"WholeSlot"}, FakePool::slotSize}), //
                         NameOfCase());

TEST_F(GetStreamFileTicksTest, EntriesAreKeptWholeAndInTheirOrder) {
    platform.AddStreamFiles({number}, 200);
    platform.pool.tickTables = {{Entry(4000, 9, -5), {8000, {8, 2147483647, {1, 2, 3, 4, 5}}}}};
    EXPECT_TRUE(Scan());
    ASSERT_EQ(ticks.size(), 2U);
    EXPECT_EQ(ticks[0].first, 4000U);
    EXPECT_EQ(ticks[0].second.time, -5);
    EXPECT_EQ(ticks[1].first, 8000U);
    EXPECT_EQ(ticks[1].second.time, 2147483647);
    EXPECT_EQ(ticks[1].second.words[4], 5U);
}

TEST_F(GetStreamFileTicksTest, UnboundedScanReadsTheWholeSlotWithoutAskingForALength) {
    platform.AddStreamFiles({number}, 0);
    platform.pool.tickTables = {Entries({10})};
    ExpectSearched(slot);
    EXPECT_TRUE(Scan(number, true));
    ExpectCounters(98566144, 98566144);
    EXPECT_EQ(platform.Calls(), ScanCalls(number, slot, true));
    ExpectOutput(std::string(64, '.') + "\n", "");
}

TEST_F(GetStreamFileTicksTest, MarksAndTheirEndAreFlushed) {
    platform.AddStreamFiles({number}, 8 * chunk);
    platform.pool.tickTables = {Entries({10})};
    EXPECT_TRUE(Scan());
    EXPECT_EQ(platform.Recorded().FlushedOut(), ".<flush>\n<flush>");
}

TEST_F(GetStreamFileTicksTest, FileWithoutTicksIsReportedAndEmptiesTheTable) {
    platform.AddStreamFiles({number}, 200);
    platform.pool.tickTables = {{}};
    EXPECT_FALSE(Scan());
    EXPECT_TRUE(ticks.empty());
    ExpectCounters(200, 200);
    EXPECT_EQ(platform.Recorded().FlushedOut(),
              "\n<flush>No system ticks found in file number 5\n");
    EXPECT_EQ(platform.Err(), "");
    EXPECT_EQ(platform.Calls(), ScanCalls(number, 200));
}

TEST_F(GetStreamFileTicksTest, BytesReadAreAddedAndWrapAt32Bits) {
    platform.AddStreamFiles({number}, 200);
    platform.pool.tickTables = {Entries({10}), Entries({10})};
    bytesRead = 1000;
    EXPECT_TRUE(Scan());
    ExpectCounters(200, 1200);
    bytesRead = 2147483647;
    EXPECT_TRUE(Scan());
    ExpectCounters(200, -2147483449L);
}

// ---------------------------------------------------------------------- the number

TEST_F(GetStreamFileTicksTest, NegativeNumberIsRefusedBeforeAnythingElse) {
    for (int const type : {1, 2, 3}) {
        StreamFileAccess::fileSystemType = type;
        EXPECT_FALSE(Scan(-1));
    }
    EXPECT_FALSE(Scan(-2147483647 - 1));
    ExpectOutput("", "File number is invalid: -1\n"
                     "File number is invalid: -1\n"
                     "File number is invalid: -1\n"
                     "File number is invalid: -2147483648\n");
    EXPECT_EQ(platform.Calls(), "");
    ExpectCounters(untouched, 0);
    ExpectTicksUntouched();
}

TEST_F(GetStreamFileTicksTest, NumberAboveThePoolSizeIsRefused) {
    for (int const tooLarge : {9, 10, 2147483647}) {
        EXPECT_FALSE(Scan(tooLarge));
    }
    ExpectOutput("", "File number is invalid: 9\n"
                     "File number is invalid: 10\n"
                     "File number is invalid: 2147483647\n");
    std::string const calls = std::string(initializeCall) + "pool.GetFilePoolSize()\n";
    EXPECT_EQ(platform.Calls(), calls + calls + calls);
    ExpectTicksUntouched();
}

TEST_F(GetStreamFileTicksTest, ZeroAndThePoolSizeItselfPassTheChecks) {
    platform.AddStreamFiles({8}, 200);
    platform.pool.tickTables = {Entries({10})};
    EXPECT_TRUE(Scan(8));
    EXPECT_FALSE(Scan(0));
    ExpectOutput("\n", "could not open stream file: 2No such file or directory\n");
}

// ---------------------------------------------------------------------- failures

TEST_F(GetStreamFileTicksTest, OtherFileSystemsAreRefusedBeforeThePoolIsTouched) {
    struct Case {
        int type;
        std::string line;
    };
    std::string const unknown =
        "Current file system is UNKNOWN, no useful information in shared memory\n";
    std::string err;
    for (Case const& row : {Case{1, "Current file system is EXT4, use linux command line\n"},
                            Case{0, unknown}, Case{3, unknown}, Case{-1, unknown}}) {
        StreamFileAccess::fileSystemType = row.type;
        EXPECT_FALSE(Scan(number, true));
        err += row.line;
    }
    ExpectOutput("", err);
    EXPECT_EQ(platform.Calls(), "");
    ExpectCounters(untouched, 0);
    ExpectTicksUntouched();
}

// Every failure before the first byte: its call, and what is said.
struct EarlyFailure : NamedCase {
    Answer answer;
    std::string err;
    std::string calls;
};

class FailedScan : public GetStreamFileTicksTest,
                   public ::testing::WithParamInterface<EarlyFailure> {
public:
    // Used by the table below.
    static std::vector<EarlyFailure> Cases() {
        std::string const toPool = std::string(initializeCall) + "pool.GetFilePoolSize()\n";
        std::string const toLength = toPool + OpenCall(number) + LengthCall(number);
        return {
            {{"InitializeFileAccess"},
             {0, 0},
             "can not proceed without fileAccess initialized\n",
             initializeCall},
            {{"GetFilePoolSize"}, {4, 0}, "File number is invalid: 5\n", toPool},
            {{"OpenStreamFile"},
             Fail(EIO),
             "could not open stream file: " + ErrnoText(EIO) + "\n",
             toPool + OpenCall(number)},
            {{"DataLength"},
             Fail(EIO),
             "error getting length of File number 5, Error: " + ErrnoText(EIO) + "\n",
             toLength + CloseCall(number)},
        };
    }
};

TEST_P(FailedScan, SaysWhyAndTouchesNothing) {
    platform.AddStreamFiles({number}, 200);
    platform.Script(GetParam().name, 1, GetParam().answer);
    EXPECT_FALSE(Scan());
    ExpectOutput("", GetParam().err);
    EXPECT_EQ(platform.Calls(), GetParam().calls);
    ExpectCounters(untouched, 0);
    ExpectTicksUntouched();
}

INSTANTIATE_TEST_SUITE_P(At, FailedScan, ::testing::ValuesIn(FailedScan::Cases()), NameOfCase());

TEST_F(GetStreamFileTicksTest, EmptyFileIsRefused) {
    platform.AddStreamFiles({number}, 0);
    EXPECT_FALSE(Scan());
    ExpectOutput("", "Stream file number 5 is a zero-length file.\n");
    EXPECT_EQ(platform.Calls(), CallsToScan(number) + CloseCall(number));
    ExpectCounters(untouched, 0);
    ExpectTicksUntouched();
}

TEST_F(GetStreamFileTicksTest, MissingMemoryForTheBufferIsReportedAfterTheSizeIsKnown) {
    platform.AddStreamFiles({number}, 200);
    {
        FailingNothrowNew const failing;
        EXPECT_FALSE(Scan());
    }
    ExpectOutput("", "Unable to allocate stream file buffer.\n");
    EXPECT_EQ(platform.Calls(), CallsToScan(number) + CloseCall(number));
    ExpectCounters(200, 0);
    ExpectTicksUntouched();
}

TEST_F(GetStreamFileTicksTest, MissingMemoryForItsBytesIsTheCallersAffair) {
    platform.AddStreamFiles({number}, 200);
    {
        FailingNew const failing(98566144);
        EXPECT_THROW(Scan(), std::bad_alloc);
    }
    ExpectOutput("", "");
    EXPECT_EQ(platform.Calls(), CallsToScan(number) + CloseCall(number));
    ExpectTicksUntouched();
}

class TenChunks : public GetStreamFileTicksTest {
protected:
    explicit TenChunks(int position)
        : at(position) {
        platform.AddStreamFiles({number}, at.length);
    }

    std::string CallsToPosition() const {
        return CallsToScan(number) + ReadCalls(number, at.before) + ReadCall(number, at.request);
    }

    ChunkOfTen const at;
};

class ScanWithAReadError : public TenChunks, public ::testing::WithParamInterface<PositionCase> {
protected:
    ScanWithAReadError()
        : TenChunks(GetParam().position) {}
};

TEST_P(ScanWithAReadError, EndsThereAndKeepsTheOldTable) {
    platform.Script("Read", at.position, Fail(EIO));
    EXPECT_FALSE(Scan());
    ExpectOutput(Marks(at.position - 1), "Unexpected read status: " + ErrnoText(EIO) + "\n");
    EXPECT_EQ(platform.Calls(), CallsToPosition() + CloseCall(number));
    ExpectCounters(at.length, at.before);
    ExpectTicksUntouched();
}

INSTANTIATE_TEST_SUITE_P(At, ScanWithAReadError, ::testing::ValuesIn(positions), NameOfCase());

class ScanWithAShortRead : public TenChunks, public ::testing::WithParamInterface<ShortReadCase> {
protected:
    ScanWithAShortRead()
        : TenChunks(std::get<PositionCase>(GetParam()).position) {}

    long const got = std::get<ShortCase>(GetParam()).Of(at.request);
};

TEST_P(ScanWithAShortRead, EndsThereAndSearchesWhatCame) {
    platform.Script("Read", at.position, {got});
    platform.pool.tickTables = {Entries({10, 11})};
    ExpectSearched(at.before + got);
    EXPECT_TRUE(Scan());
    ExpectTicks({10, 11});
    ExpectOutput(Marks(at.position) + "\n", ShortReadLine(at.length, at.request, got));
    EXPECT_EQ(platform.Calls(), CallsToPosition() + CallsOfSearch() + CloseCall(number));
    ExpectCounters(at.length, at.before + got);
}

INSTANTIATE_TEST_SUITE_P(At, ScanWithAShortRead,
                         ::testing::Combine(::testing::ValuesIn(positions),
                                            ::testing::ValuesIn(shortReads)),
                         NameOfPair());

} // namespace
