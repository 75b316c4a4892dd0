// The listing of those who work on the pool.
#include "shm/ListProcesses.h"

#include <cstdint>
#include <cstring>
#include <fstream>

#include <unistd.h>

#include "fakes/SeamTest.h"
#include "fakes/Show.h"

namespace {

class ListProcessesTest : public SeamTest {
protected:
    static constexpr std::size_t headerSize = 28;
    static constexpr std::size_t recordSize = 772;
    static constexpr std::size_t recordCount = 128;

    ListProcessesTest() {
        // The header is not looked at.
        platform.pool.processTable.assign(headerSize + recordCount * recordSize, 0);
        std::fill_n(platform.pool.processTable.begin(), headerSize, 0xee);
    }

    // Each listed process leaves a descriptor open, deliberately; nothing but the end of the
    // program closes it.
    ~ListProcessesTest() override {
        FakePlatform::Unrecorded const unrecorded(platform);
        for (int const descriptor : platform.OpenDescriptors()) {
            close(descriptor);
        }
    }

    static std::size_t Record(std::size_t index) { return headerSize + index * recordSize; }

    void PutWord(std::size_t offset, std::uint32_t word) {
        std::memcpy(&platform.pool.processTable.at(offset), &word, sizeof word);
    }

    // A process with that command line, as the system shows it.
    void PutProcess(std::size_t index, int pid, std::string const& commandLine) {
        PutWord(Record(index), static_cast<std::uint32_t>(pid));
        platform.liveProcesses.insert(pid);
        std::string const file = platform.HardDisk("cmdline." + Show(pid));
        std::ofstream(file, std::ios::binary) << commandLine;
        platform.systemFiles["/proc/" + Show(pid) + "/cmdline"] = file;
    }

    void PutThread(std::size_t index, std::size_t slot, std::uint32_t marker, std::uint32_t handle,
                   int file) {
        std::size_t const place = Record(index) + 4 + slot * 12;
        PutWord(place, marker);
        PutWord(place + 4, handle);
        PutWord(place + 8, static_cast<std::uint32_t>(file));
    }

    static std::string ProcessCalls(int pid) {
        std::string const path = "/proc/" + Show(pid) + "/cmdline";
        return "kill(" + Show(pid) + ", 0)\nopen(" + Show(path) + ", O_RDONLY)\nread(" + path +
               ", 511)\n";
    }
    static std::string ListCalls(std::string const& processCalls) {
        return "StreamMgrFileMgmnt()\ntables.Initialize(0, false, false)\n" + processCalls +
               "~StreamMgrFileMgmnt()\n";
    }
};

TEST_F(ListProcessesTest, ProcessesAndThreadsStandInTheirColumns) {
    PutProcess(0, 4711, std::string("StreamMgr\0-d\0", 13));
    PutThread(0, 0, 1, 0xDEADBEEF, 5);
    PutThread(0, 63, 1, 0x1a, -1);
    PutProcess(127, 1234567, std::string("cli", 3));
    PutThread(127, 1, 0xffffffff, 0, 2147483647);
    EXPECT_TRUE(ListProcesses());
    EXPECT_EQ(platform.Recorded().FlushedOut(), "  0  4711   StreamMgr -d \n<flush>"
                                                "       -   deadbeef file: 5\n<flush>"
                                                "       -         1a file: -1\n<flush>"
                                                "1271234567   cli\n<flush>"
                                                "       -          0 file: 2147483647\n<flush>");
    EXPECT_EQ(platform.Err(), "");
    EXPECT_EQ(platform.Calls(), ListCalls(ProcessCalls(4711) + ProcessCalls(1234567)));
}

TEST_F(ListProcessesTest, CommandLineIsReadBeforeItsRowIsPrinted) {
    PutProcess(0, 77, "one");
    PutThread(0, 0, 1, 0x12, 5);
    PutProcess(1, 78, "two");
    EXPECT_TRUE(ListProcesses());
    EXPECT_EQ(platform.Recorded().Trace(),
              ListCalls(ProcessCalls(77) + "out " +
                        Show("  0    77   one\n       -         12 file: 5\n") + "\n" +
                        ProcessCalls(78) + "out " + Show("  1    78   two\n") + "\n"));
}

TEST_F(ListProcessesTest, NumbersAreDecimalAgainAfterAHandle) {
    PutProcess(10, 100, "a");
    PutThread(10, 3, 1, 0xabc, 100);
    PutProcess(11, 110, "b");
    EXPECT_TRUE(ListProcesses());
    ExpectOutput(" 10   100   a\n"
                 "       -        abc file: 100\n"
                 " 11   110   b\n",
                 "");
}

TEST_F(ListProcessesTest, TableWithoutALiveProcessPrintsNothing) {
    EXPECT_TRUE(ListProcesses());
    ExpectOutput("", "");
    EXPECT_EQ(platform.Calls(), ListCalls(""));
}

TEST_F(ListProcessesTest, FreeRecordsAreNotShownWhateverElseTheyHold) {
    for (std::size_t index = 0; index < 2; ++index) {
        PutThread(index, 0, 1, 2, 3);
    }
    PutWord(Record(1), 0xffffffff);
    PutWord(Record(2), 0x80000000);
    EXPECT_TRUE(ListProcesses());
    ExpectOutput("", "");
    EXPECT_EQ(platform.Calls(), ListCalls(""));
}

TEST_F(ListProcessesTest, ProcessThatHasEndedIsNotShownNorAreItsThreads) {
    PutProcess(0, 77, "gone");
    PutThread(0, 0, 1, 2, 3);
    platform.liveProcesses.clear();
    EXPECT_TRUE(ListProcesses());
    ExpectOutput("", "");
    EXPECT_EQ(platform.Calls(), ListCalls("kill(77, 0)\n"));
}

TEST_F(ListProcessesTest, ProcessThatMayNotBeSignalledIsNotShown) {
    PutProcess(0, 77, "foreign");
    platform.Script("kill", 1, Fail(EPERM));
    EXPECT_TRUE(ListProcesses());
    ExpectOutput("", "");
}

TEST_F(ListProcessesTest, ThreadSlotWithoutAMarkerIsNotShown) {
    PutProcess(0, 77, "a");
    PutThread(0, 0, 0, 0x1234, 5);
    PutThread(0, 1, 2, 0x5678, 6);
    EXPECT_TRUE(ListProcesses());
    ExpectOutput("  0    77   a\n       -       5678 file: 6\n", "");
}

// ---------------------------------------------------------------------- command lines

TEST_F(ListProcessesTest, ProcessWhoseCommandLineCannotBeOpenedHasNoNameButItsThreads) {
    PutProcess(0, 77, "first");
    PutProcess(1, 78, "second");
    PutThread(1, 0, 1, 0x12, 6);
    platform.Script("open", 2, Fail(EACCES));
    EXPECT_TRUE(ListProcesses());
    ExpectOutput("  0    77   first\n"
                 "  1    78   \n"
                 "       -         12 file: 6\n",
                 "");
}

TEST_F(ListProcessesTest, DescriptorZeroCountsAsFailed) {
    PutProcess(0, 77, "a");
    platform.Script("open", 1, {0});
    platform.Opened(0, "standard input"); // a read from it would be recorded
    EXPECT_TRUE(ListProcesses());
    platform.Closed(0);
    ExpectOutput("  0    77   \n", "");
    EXPECT_EQ(platform.Calls(), ListCalls("kill(77, 0)\nopen(\"/proc/77/cmdline\", O_RDONLY)\n"));
}

TEST_F(ListProcessesTest, EmptyCommandLineShowsTheOneBefore) {
    PutProcess(0, 76, "");
    PutProcess(1, 77, std::string("one\0two\0", 8));
    PutProcess(2, 78, "");
    PutProcess(3, 79, "x");
    PutProcess(4, 80, "");
    EXPECT_TRUE(ListProcesses());
    ExpectOutput("  0    76   \n"
                 "  1    77   one two \n"
                 "  2    78   one two \n"
                 "  3    79   x\n"
                 "  4    80   x\n",
                 "");
}

TEST_F(ListProcessesTest, FailedReadShowsTheOneBefore) {
    PutProcess(0, 77, "one");
    PutProcess(1, 78, "two");
    platform.Script("read", 2, Fail(EIO));
    EXPECT_TRUE(ListProcesses());
    ExpectOutput("  0    77   one\n  1    78   one\n", "");
}

TEST_F(ListProcessesTest, FirstProcessWithoutACommandLineHasNoName) {
    PutProcess(0, 77, "one");
    platform.Script("read", 1, Fail(EIO));
    EXPECT_TRUE(ListProcesses());
    ExpectOutput("  0    77   \n", "");
}

TEST_F(ListProcessesTest, LongCommandLineIsCutAfter511Bytes) {
    PutProcess(0, 77, std::string(600, 'x'));
    PutProcess(1, 78, std::string(511, '\0') + "y");
    EXPECT_TRUE(ListProcesses());
    ExpectOutput("  0    77   " + std::string(511, 'x') + "\n  1    78   " + std::string(511, ' ') +
                     "\n",
                 "");
}

TEST_F(ListProcessesTest, WholeTableIsWalked) {
    std::string out;
    std::string calls;
    for (int index = 0; index < 128; ++index) {
        PutProcess(static_cast<std::size_t>(index), 1000 + index, "p");
        out += std::string(index < 10    ? 2
                           : index < 100 ? 1
                                         : 0,
                           ' ') +
               Show(index) + "  " + Show(1000 + index) + "   p\n";
        calls += ProcessCalls(1000 + index);
    }
    EXPECT_TRUE(ListProcesses());
    ExpectOutput(out, "");
    EXPECT_EQ(platform.Calls(), ListCalls(calls));
}

TEST_F(ListProcessesTest, OneDescriptorStaysOpenForEachListedProcess) {
    PutProcess(0, 77, "one");
    PutProcess(1, 78, "two");
    EXPECT_TRUE(ListProcesses());
    EXPECT_EQ(platform.OpenDescriptors().size(), 2U);
    EXPECT_TRUE(ListProcesses());
    EXPECT_EQ(platform.OpenDescriptors().size(), 4U);
}

// ---------------------------------------------------------------------- no table

class MissingTable : public ListProcessesTest {
protected:
    void ExpectFailure() {
        EXPECT_FALSE(ListProcesses());
        EXPECT_EQ(platform.Recorded().FlushedOut(), line);
        EXPECT_EQ(platform.Err(), "");
        EXPECT_EQ(platform.Calls(), ListCalls(""));
    }

    std::string const line = "failed to initialize shared memory\n<flush>";
};

TEST_F(MissingTable, IsReportedWhenItCannotBeInitialised) {
    platform.Script("Initialize", 1, {0});
    ExpectFailure();
}

TEST_F(MissingTable, IsReportedWhenItIsNotMapped) {
    platform.pool.processTable.clear();
    ExpectFailure();
}

} // namespace
