// The dump of ticks and of the distances between them.
#include "streamfile/StreamFileTickInfo.h"

#include "TickFileTest.h"

namespace {

class StreamFileTickInfoTest : public TickFileTest {
protected:
    static constexpr long length = 200;

    bool TickInfo(int fileNum, char mode, bool unbounded = false) {
        return StreamFileTickInfo(fileNum, fileSize, mode, bytesRead, unbounded);
    }

    static std::string DistanceLines(std::string const& number, std::string const& largest,
                                     std::string const& smallest) {
        return number + " : Maximum consecutive tick offset delta in bytes = " + largest + "\n" +
               number + " : Minimum consecutive tick offset delta in bytes = " + smallest + "\n";
    }

    long fileSize = -7;
    long bytesRead = 0;
};

// ---------------------------------------------------------------------- the full dump

TEST_F(StreamFileTickInfoTest, DumpShowsEveryEntryInItsOrder) {
    platform.AddStreamFiles({3}, length);
    platform.pool.tickTables = {{Entry(0, 1000, 57), Entry(4294967295U, 4294967295U, -1),
                                 Entry(500, 7, -2147483647 - 1), Entry(501, 7, 2147483647)}};
    EXPECT_TRUE(TickInfo(3, 0));
    ExpectOutput("\n\n\n"
                 " File: 3 Tick: 1000 Offset: 0 Time: 57\n"
                 " File: 3 Tick: 4294967295 Offset: 4294967295 Time: -1\n"
                 " File: 3 Tick: 7 Offset: 500 Time: -2147483648\n"
                 " File: 3 Tick: 7 Offset: 501 Time: 2147483647\n"
                 "\n",
                 "");
    EXPECT_EQ(platform.Calls(), initializeCall + ScanCalls(3, length));
    EXPECT_EQ(fileSize, length);
    EXPECT_EQ(bytesRead, length);
}

TEST_F(StreamFileTickInfoTest, EachDumpedLineIsFlushed) {
    platform.AddStreamFiles({3}, length);
    platform.pool.tickTables = {Entries({10, 11})};
    EXPECT_TRUE(TickInfo(3, 0));
    EXPECT_EQ(platform.Recorded().FlushedOut(), "\n<flush>\n\n"
                                                " File: 3 Tick: 10 Offset: 0 Time: 50\n<flush>"
                                                " File: 3 Tick: 11 Offset: 1000 Time: 52\n<flush>"
                                                "\n");
}

TEST_F(StreamFileTickInfoTest, EveryModeButOneDumps) {
    platform.AddStreamFiles({3}, length);
    std::string out;
    for (char const mode : {'x', 'M', '0', ' ', ','}) {
        platform.pool.tickTables = {Entries({10})};
        EXPECT_TRUE(TickInfo(3, mode)) << mode;
        out += "\n\n\n File: 3 Tick: 10 Offset: 0 Time: 50\n\n";
    }
    ExpectOutput(out, "");
}

// ---------------------------------------------------------------------- the distances

struct DistanceCase : NamedCase {
    TickTable table;
    std::string largest; // as they stand in their column
    std::string smallest;
};

class DistancesOf : public StreamFileTickInfoTest,
                    public ::testing::WithParamInterface<DistanceCase> {
public:
    // Used by the table below.
    static std::vector<DistanceCase> Cases() {
        std::string const noLargest = "         0";
        std::string const noSmallest = "4294967295";
        return {
            {{"OneEntry"}, {Entry(0, 10, 0)}, noLargest, noSmallest},
            {{"OnePair"}, {Entry(5, 10, 0), Entry(193, 11, 0)}, "       188", "       188"},
            {{"AllApart"},
             {Entry(0, 10, 0), Entry(188, 12, 0), Entry(376, 14, 0)},
             noLargest,
             noSmallest},
            {{"SameTick"}, {Entry(0, 10, 0), Entry(188, 10, 0)}, noLargest, noSmallest},
            {{"Backwards"}, {Entry(0, 10, 0), Entry(188, 9, 0)}, noLargest, noSmallest},
            // Over the gaps 11 - 20 and 21 - 40 nothing is measured.
            {{"GapsAreLeftOut"},
             {Entry(0, 10, 0), Entry(1000, 11, 0), Entry(1001, 20, 0), Entry(3001, 21, 0),
              Entry(90000000, 40, 0), Entry(90001500, 41, 0)},
             "      2000",
             "      1000"},
            {{"SameOffset"}, {Entry(7, 10, 0), Entry(7, 11, 0)}, noLargest, "         0"},
            {{"OffsetsBackwards"}, {Entry(7, 10, 0), Entry(6, 11, 0)}, noSmallest, noSmallest},
            {{"OverTheTop"},
             {Entry(0, 4294967295U, 0), Entry(1, 0, 0)},
             "         1",
             "         1"},
            {{"WholeColumn"},
             {Entry(0, 1, 0), Entry(4294967294U, 2, 0), Entry(4294967295U, 3, 0)},
             "4294967294",
             "         1"},
        };
    }
};

TEST_P(DistancesOf, AreShownAsTheLargestAndTheSmallest) {
    platform.AddStreamFiles({3}, length);
    platform.pool.tickTables = {GetParam().table};
    EXPECT_TRUE(TickInfo(3, 'm'));
    EXPECT_EQ(platform.Recorded().FlushedOut(),
              "\n<flush>\n\n" + DistanceLines("   3", GetParam().largest, GetParam().smallest) +
                  "\n");
    EXPECT_EQ(platform.Err(), "");
}

INSTANTIATE_TEST_SUITE_P(Table, DistancesOf, ::testing::ValuesIn(DistancesOf::Cases()),
                         NameOfCase());

TEST_F(StreamFileTickInfoTest, NumberIsRightAlignedInFourColumns) {
    platform.pool.size = 20000;
    struct Case {
        int number;
        std::string shown;
    };
    std::string out;
    for (Case const& row : {Case{12, "  12"}, Case{1234, "1234"}, Case{12345, "12345"}}) {
        platform.AddStreamFiles({row.number}, length);
        platform.pool.tickTables = {Entries({10, 11})};
        EXPECT_TRUE(TickInfo(row.number, 'm'));
        out += "\n\n\n" + DistanceLines(row.shown, "      1000", "      1000") + "\n";
    }
    ExpectOutput(out, "");
}

// ---------------------------------------------------------------------- the walk over files

TEST_F(StreamFileTickInfoTest, ZeroWalksAllFilesAndSumsTheBytes) {
    platform.pool.size = 4;
    platform.AddStreamFiles({1, 2, 4}, length);
    platform.pool.files[2].statedLength = 300;
    platform.pool.tickTables = {Entries({10}), {}, Entries({7})};
    EXPECT_TRUE(TickInfo(0, 0));
    ExpectOutput("\n\n\n"
                 " File: 1 Tick: 10 Offset: 0 Time: 50\n"
                 "\n"
                 "\n"
                 "No system ticks found in file number 2\n"
                 "No system ticks found in file number 2\n"
                 "No system ticks found in file number 3\n"
                 "\n\n\n"
                 " File: 4 Tick: 7 Offset: 0 Time: 50\n"
                 "\n",
                 "could not open stream file: 2No such file or directory\n");
    EXPECT_EQ(platform.Calls(), std::string(initializeCall) + "pool.GetFilePoolSize()\n" +
                                    ScanCalls(1, length) + ScanCalls(2, 300) + initializeCall +
                                    "pool.GetFilePoolSize()\n" + OpenCall(3) +
                                    ScanCalls(4, length));
    EXPECT_EQ(bytesRead, 700);
}

TEST_F(StreamFileTickInfoTest, UnboundedWalkReadsTheWholeSlot) {
    platform.AddStreamFiles({3}, length);
    platform.pool.tickTables = {Entries({10})};
    EXPECT_TRUE(TickInfo(3, 'm', true));
    EXPECT_EQ(platform.Calls(), initializeCall + ScanCalls(3, slot, true));
}

TEST_F(StreamFileTickInfoTest, EmptyPoolPrintsNothing) {
    for (long const size : {0L, -1L}) {
        platform.pool.size = size;
        EXPECT_TRUE(TickInfo(0, 'm'));
    }
    ExpectOutput("", "");
}

TEST_F(StreamFileTickInfoTest, UnreachablePoolIsTheOnlyFailure) {
    platform.Script("InitializeFileAccess", 1, {0});
    EXPECT_FALSE(TickInfo(0, 0));
    ExpectOutput("", "can not proceed without fileAccess initialized\n");
    EXPECT_EQ(platform.Calls(), initializeCall);
}

TEST_F(StreamFileTickInfoTest, NumberOfNoFileIsReportedAndNoFailure) {
    EXPECT_TRUE(TickInfo(-3, 0));
    EXPECT_TRUE(TickInfo(9, 'm'));
    ExpectOutput("No system ticks found in file number -3\n"
                 "No system ticks found in file number 9\n",
                 "File number is invalid: -3\n"
                 "File number is invalid: 9\n");
}

} // namespace
