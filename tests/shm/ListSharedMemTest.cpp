// The listing of the table of stream files.
#include "shm/ListSharedMem.h"

#include "LogClient.h"
#include "StreamFileAccess.h"
#include "fakes/SeamTest.h"
#include "fakes/Show.h"

namespace {

constexpr char const* heading =
    "StreamFileNum      WriteController        StreamDBMatch    NumProcAtomicRead      "
    "FileSizeInBytes\n"
    "-------------      ---------------        -------------    -----------------      "
    "---------------\n";

class ListSharedMemTest : public SeamTest {
protected:
    void AddEntry(int number, int controller, unsigned int fileSize) {
        platform.pool.table[number] = {static_cast<StreamMgrFileMgmnt::Control_t>(controller),
                                       false, 0, fileSize};
    }

    // The calls that list a pool of this size.
    static std::string ListCalls(int poolSize) {
        std::string calls = "pool.InitializeFileAccess(false, true)\npool.GetFilePoolSize()\n";
        for (int number = 1; number <= poolSize; ++number) {
            calls += "pool.GetFileInfo(" + Show(number) + ")\n";
        }
        return calls;
    }
};

TEST_F(ListSharedMemTest, EmptyPoolIsTwoHeadingLinesAndATotal) {
    platform.pool.size = 0;
    EXPECT_TRUE(ListSharedMem(false));
    ExpectOutput(std::string(heading) + "Total number of files: 0\n", "");
    EXPECT_EQ(platform.Calls(), ListCalls(0));
}

TEST_F(ListSharedMemTest, RowsStandInTheirColumns) {
    platform.pool.size = 3;
    platform.pool.table[1] = {StreamMgrFileMgmnt::ControlUnknown, true, 0, 0};
    platform.pool.table[2] = {StreamMgrFileMgmnt::ControlExternalProc, false, 12, 98566144};
    platform.pool.table[3] = {StreamMgrFileMgmnt::ControlStream1, true, -1, 4294967295U};
    EXPECT_TRUE(ListSharedMem(false));
    ExpectOutput(std::string(heading) + "            1       ControlUnknown                 true"
                                        "                    0                    0\n"
                                        "            2  ControlExternalProc                false"
                                        "                   12             98566144\n"
                                        "            3       ControlStream1                 true"
                                        "                   -1           4294967295\n"
                                        "Total number of files: 3\n",
                 "");
}

TEST_F(ListSharedMemTest, EachRowIsFlushed) {
    platform.pool.size = 1;
    AddEntry(1, 0, 0);
    EXPECT_TRUE(ListSharedMem(false));
    EXPECT_EQ(platform.Recorded().FlushedOut(),
              std::string(heading) + "            1       ControlUnknown                false"
                                     "                    0                    0\n<flush>"
                                     "Total number of files: 1\n");
}

TEST_F(ListSharedMemTest, SizeOfThePoolIsAskedForBeforeTheHeadingIsPrinted) {
    platform.pool.size = 1;
    EXPECT_TRUE(ListSharedMem(false));
    EXPECT_EQ(platform.Recorded().Trace(), ListCalls(0) + "out " + Show(heading) +
                                               "\npool.GetFileInfo(1)\n" + "out " +
                                               Show("Total number of files: 1\n") + "\n");
}

TEST_F(ListSharedMemTest, ControllersBearTheirNames) {
    struct Case {
        int controller;
        char const* name;
    };
    constexpr Case cases[] = {
        {0, "ControlUnknown"}, {1, "ControlPrimaryThread"}, {2, "ControlStream1"},
        {3, "ControlStream2"}, {4, "ControlStream3"},       {5, "ControlStream4"},
        {6, "ControlNonFile"}, {7, "ControlExternalProc"},  {8, "ControlUnknown"},
        {9, "ControlUnknown"}, {-1, "ControlUnknown"},      {2147483647, "ControlUnknown"},
    };
    std::string rows;
    int number = 0;
    for (Case const& row : cases) {
        AddEntry(++number, row.controller, 7);
        std::string const name = row.name;
        rows += std::string(number < 10 ? 12 : 11, ' ') + Show(number) +
                std::string(21 - name.size(), ' ') + name +
                "                false                    0                    7\n";
    }
    platform.pool.size = number;
    EXPECT_TRUE(ListSharedMem(false));
    ExpectOutput(heading + rows + "Total number of files: 12\n", "");
}

TEST_F(ListSharedMemTest, FileWithoutAnEntryIsLeftOutWithoutAWord) {
    platform.pool.size = 3;
    AddEntry(2, 0, 5);
    EXPECT_TRUE(ListSharedMem(false));
    ExpectOutput(std::string(heading) + "            2       ControlUnknown                false"
                                        "                    0                    5\n"
                                        "Total number of files: 3\n",
                 "");
    EXPECT_EQ(platform.Calls(), ListCalls(3));
}

// Owned files, and unowned ones that are neither empty nor full, are in an intermediate state.
TEST_F(ListSharedMemTest, IntermediateListingFilters) {
    struct Case {
        int controller;
        unsigned int fileSize;
        bool isShown;
    };
    constexpr Case cases[] = {
        {0, 0, false},         {0, 1, true},          {0, 0x5DFFFFF, true},
        {0, 0x5E00000, false}, {0, 0x5E00001, false}, {0, 4294967295U, false},
        {4, 0, true},          {4, 0x5E00000, true},  {9, 0, true},
        {-1, 0, true},         {7, 0x5E00000, true},  {1, 5, true},
    };
    platform.pool.size = static_cast<long>(std::size(cases));
    int number = 0;
    for (Case const& row : cases) {
        AddEntry(++number, row.controller, row.fileSize);
    }
    EXPECT_TRUE(ListSharedMem(true));

    std::string const out = platform.Out();
    number = 0;
    for (Case const& row : cases) {
        ++number;
        std::string const start = "\n" + std::string(number < 10 ? 12 : 11, ' ') + Show(number);
        EXPECT_EQ(out.find(start + " ") != std::string::npos, row.isShown)
            << "controller " << row.controller << ", " << row.fileSize << " bytes";
    }
    std::string const total = "Total number of files: 12\n";
    EXPECT_EQ(out.substr(out.size() - total.size()), total);
    EXPECT_EQ(platform.Calls(), ListCalls(number));
}

// ---------------------------------------------------------------------- no pool to list

struct RefusalCase : NamedCase {
    int fileSystemType;
    bool reachesPool;
    unsigned int level; // bit of the entry
    std::string text;
};

class RefusedListing : public ListSharedMemTest, public ::testing::WithParamInterface<RefusalCase> {
protected:
    void Refuse(unsigned int logLevel) {
        LogClient::Instance()->Level(logLevel);
        StreamFileAccess::fileSystemType = GetParam().fileSystemType;
        if (GetParam().reachesPool) {
            platform.Script("InitializeFileAccess", 1, {0});
        }
        EXPECT_FALSE(ListSharedMem(false));
        ExpectOutput("", "");
    }

    std::string const reachCall =
        GetParam().reachesPool ? "pool.InitializeFileAccess(false, true)\n" : "";
};

TEST_P(RefusedListing, IsOnlyLogged) {
    Refuse(GetParam().level);
    EXPECT_EQ(CallsWithoutLines(),
              reachCall + "log.Level()\n" +
                  LogEntry(static_cast<int>(GetParam().level), GetParam().text));
}

TEST_P(RefusedListing, IsSilentWhileItsLevelIsOff) {
    Refuse(~GetParam().level);
    EXPECT_EQ(platform.Calls(), reachCall + "log.Level()\n");
}

INSTANTIATE_TEST_SUITE_P(
    Reason, RefusedListing,
    ::testing::Values(
        RefusalCase{{"Ext4"},
                    1,
                    false,
                    2,
                    "Current file system is EXT4, no useful information in shared memory"},
        RefusalCase{{"UnknownFileSystem"},
                    3,
                    false,
                    2,
                    "Current file system is UNKNOWN, no useful information in shared memory"},
        RefusalCase{
            {"UnreachablePool"}, 2, true, 1, "can not proceed without fileAccess initialized"}),
    NameOfCase());

} // namespace
