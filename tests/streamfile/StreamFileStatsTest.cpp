// The runs of consecutive ticks.
#include "streamfile/StreamFileStats.h"

#include "StreamFileAccess.h"
#include "TickFileTest.h"

namespace {

class StreamFileStatsTest : public TickFileTest {
protected:
    static constexpr long length = 200;

    bool Stats(int fileNum, bool unbounded = false) {
        return StreamFileStats(fileNum, fileSize, bytesRead, unbounded);
    }

    long fileSize = -7;
    long bytesRead = 0;
};

// ---------------------------------------------------------------------- the runs of one table

struct TickRun {
    std::size_t from; // indices into the table
    std::size_t to;
};

struct RunCase : NamedCase {
    std::vector<unsigned int> ticks;
    std::vector<TickRun> runs;
};

class RunsOf : public StreamFileStatsTest, public ::testing::WithParamInterface<RunCase> {};

TEST_P(RunsOf, AreShownWithTicksAndTimes) {
    platform.AddStreamFiles({3}, length);
    TickTable const table = Entries(GetParam().ticks);
    platform.pool.tickTables = {table};
    std::string lines;
    for (TickRun const& run : GetParam().runs) {
        StreamMetadata const& from = table[run.from].second;
        StreamMetadata const& to = table[run.to].second;
        lines += "  File 3 tickRange: " + Show(from.tick) + "..." + Show(to.tick) +
                 "   (diff= " + Show(to.tick - from.tick) +
                 " ticks)    timeRange: " + Show(from.time) + "..." + Show(to.time) +
                 "   (diff= " + Show(to.time - from.time) + " seconds)\n";
    }
    EXPECT_TRUE(Stats(3));
    ExpectOutput("\n\n\n" + lines + "\n", "");
}

INSTANTIATE_TEST_SUITE_P(
    Table, RunsOf,
    ::testing::Values(RunCase{{"OneEntry"}, {10}, {}},                                       //
                      RunCase{{"TwoConsecutive"}, {10, 11}, {{0, 1}}},                       //
                      RunCase{{"TwoApart"}, {10, 20}, {{0, 1}}},                             //
                      RunCase{{"OneRun"}, {10, 11, 12, 13}, {{0, 3}}},                       //
                      RunCase{{"TwoRuns"}, {10, 11, 12, 20, 21}, {{0, 2}, {3, 4}}},          //
                      RunCase{{"BreakAtTheLast"}, {10, 11, 12, 20}, {{0, 3}}},               //
                      RunCase{{"BreakAfterTheFirst"}, {10, 20, 21}, {{0, 0}, {1, 2}}},       //
                      RunCase{{"AllApart"}, {10, 20, 30, 40}, {{0, 0}, {1, 1}, {2, 3}}},     //
                      RunCase{{"ThreeRuns"}, {1, 2, 5, 6, 9, 10}, {{0, 1}, {2, 3}, {4, 5}}}, //
                      RunCase{{"TickTwice"}, {5, 5, 6}, {{0, 0}, {1, 2}}},                   //
                      RunCase{{"Backwards"}, {30, 29, 28}, {{0, 0}, {1, 2}}},                //
                      RunCase{{"OverTheTop"}, {4294967295U, 0, 1}, {{0, 2}}},                //
                      RunCase{
                          {"OverTheMiddle"}, {2147483647, 2147483648U, 2147483649U}, {{0, 2}}}, //
                      RunCase{{"GapThatClosesLater"}, {10, 13, 12, 13}, {{0, 0}, {1, 1}, {2, 3}}}),
    NameOfCase());

TEST_F(StreamFileStatsTest, RunReadsAsItAlwaysDid) {
    platform.AddStreamFiles({3}, length);
    TickTable table;
    for (unsigned int i = 0; i < 900; ++i) {
        table.push_back(Entry(i * 1000, 1000 + i, 57 + static_cast<int>(i) / 20));
    }
    table.back().second.time = 102;
    platform.pool.tickTables = {table};
    EXPECT_TRUE(Stats(3));
    ExpectOutput("\n\n\n"
                 "  File 3 tickRange: 1000...1899   (diff= 899 ticks)    timeRange: 57...102   "
                 "(diff= 45 seconds)\n"
                 "\n",
                 "");
}

TEST_F(StreamFileStatsTest, TicksAreUnsignedAndTimesSigned) {
    platform.AddStreamFiles({3}, length);
    platform.pool.tickTables = {{Entry(0, 4294967290U, 20), Entry(9, 4294967289U, -30)}};
    EXPECT_TRUE(Stats(3));
    ExpectOutput("\n\n\n"
                 "  File 3 tickRange: 4294967290...4294967289   (diff= 4294967295 ticks)    "
                 "timeRange: 20...-30   (diff= -50 seconds)\n"
                 "\n",
                 "");
}

TEST_F(StreamFileStatsTest, DifferenceOfTimesWrapsAt32Bits) {
    platform.AddStreamFiles({3}, length);
    platform.pool.tickTables = {{Entry(0, 1, -2147483647 - 1), Entry(9, 2, 2147483647)}};
    EXPECT_TRUE(Stats(3));
    ExpectOutput("\n\n\n"
                 "  File 3 tickRange: 1...2   (diff= 1 ticks)    "
                 "timeRange: -2147483648...2147483647   (diff= -1 seconds)\n"
                 "\n",
                 "");
}

TEST_F(StreamFileStatsTest, OnlyTheRangeLineIsFlushed) {
    platform.AddStreamFiles({3}, length);
    platform.pool.tickTables = {Entries({10, 11})};
    EXPECT_TRUE(Stats(3));
    EXPECT_EQ(platform.Recorded().FlushedOut(),
              "\n<flush>\n\n"
              "  File 3 tickRange: 10...11   (diff= 1 ticks)    timeRange: 50...52   "
              "(diff= 2 seconds)\n<flush>\n");
}

// ---------------------------------------------------------------------- the walk over files

TEST_F(StreamFileStatsTest, OneFileIsReadOnce) {
    platform.AddStreamFiles({3}, length);
    platform.pool.tickTables = {Entries({10})};
    EXPECT_TRUE(Stats(3));
    EXPECT_EQ(platform.Calls(), initializeCall + ScanCalls(3, length));
    EXPECT_EQ(fileSize, length);
    EXPECT_EQ(bytesRead, length);
}

TEST_F(StreamFileStatsTest, UnboundedWalkReadsTheWholeSlot) {
    platform.AddStreamFiles({3}, length);
    platform.pool.tickTables = {Entries({10})};
    EXPECT_TRUE(Stats(3, true));
    EXPECT_EQ(platform.Calls(), initializeCall + ScanCalls(3, slot, true));
    EXPECT_EQ(fileSize, slot);
}

TEST_F(StreamFileStatsTest, ZeroWalksAllFilesAndSumsTheBytes) {
    platform.pool.size = 3;
    platform.AddStreamFiles({1, 2, 3}, length);
    platform.pool.files[2].statedLength = 300;
    platform.pool.tickTables = {Entries({10, 11}), Entries({5}), Entries({7, 8})};
    EXPECT_TRUE(Stats(0));
    ExpectOutput("\n\n\n"
                 "  File 1 tickRange: 10...11   (diff= 1 ticks)    timeRange: 50...52   "
                 "(diff= 2 seconds)\n"
                 "\n"
                 "\n\n\n"
                 "\n"
                 "\n\n\n"
                 "  File 3 tickRange: 7...8   (diff= 1 ticks)    timeRange: 50...52   "
                 "(diff= 2 seconds)\n"
                 "\n",
                 "");
    EXPECT_EQ(platform.Calls(), std::string(initializeCall) + "pool.GetFilePoolSize()\n" +
                                    ScanCalls(1, length) + ScanCalls(2, 300) +
                                    ScanCalls(3, length));
    EXPECT_EQ(fileSize, length);
    EXPECT_EQ(bytesRead, 700);
}

TEST_F(StreamFileStatsTest, EmptyPoolPrintsNothing) {
    for (long const size : {0L, -1L}) {
        platform.pool.size = size;
        EXPECT_TRUE(Stats(0));
    }
    ExpectOutput("", "");
    EXPECT_EQ(bytesRead, 0);
}

// ---------------------------------------------------------------------- failures

TEST_F(StreamFileStatsTest, UnreachablePoolIsTheOnlyFailure) {
    platform.Script("InitializeFileAccess", 1, {0});
    EXPECT_FALSE(Stats(0));
    ExpectOutput("", "can not proceed without fileAccess initialized\n");
    EXPECT_EQ(platform.Calls(), initializeCall);
}

TEST_F(StreamFileStatsTest, PoolLostOnTheWayIsReportedAndNoFailure) {
    platform.Script("InitializeFileAccess", 2, {0});
    EXPECT_TRUE(Stats(3));
    ExpectOutput("No system ticks found\n\n\n\n",
                 "can not proceed without fileAccess initialized\n");
}

TEST_F(StreamFileStatsTest, FailedFilesAreReportedAndTheWalkGoesOn) {
    platform.pool.size = 4;
    platform.AddStreamFiles({1, 3, 4}, length);
    platform.pool.files[3].statedLength = 0;
    platform.pool.tickTables = {Entries({10, 11}), {}};
    EXPECT_TRUE(Stats(0));
    ExpectOutput("\n\n\n"
                 "  File 1 tickRange: 10...11   (diff= 1 ticks)    timeRange: 50...52   "
                 "(diff= 2 seconds)\n"
                 "\n"
                 "No system ticks found\n\n\n\n"
                 "No system ticks found\n\n\n\n"
                 "\n"
                 "No system ticks found in file number 4\n"
                 "No system ticks found\n\n\n\n",
                 "could not open stream file: 2No such file or directory\n"
                 "Stream file number 3 is a zero-length file.\n");
}

TEST_F(StreamFileStatsTest, NumberOfNoFileIsReportedAndNoFailure) {
    EXPECT_TRUE(Stats(-3));
    EXPECT_TRUE(Stats(9));
    ExpectOutput("No system ticks found\n\n\n\n"
                 "No system ticks found\n\n\n\n",
                 "File number is invalid: -3\n"
                 "File number is invalid: 9\n");
}

TEST_F(StreamFileStatsTest, OtherFileSystemIsReportedForEachFile) {
    StreamFileAccess::fileSystemType = 1;
    platform.pool.size = 2;
    EXPECT_TRUE(Stats(0));
    ExpectOutput("No system ticks found\n\n\n\n"
                 "No system ticks found\n\n\n\n",
                 "Current file system is EXT4, use linux command line\n"
                 "Current file system is EXT4, use linux command line\n");
}

} // namespace
