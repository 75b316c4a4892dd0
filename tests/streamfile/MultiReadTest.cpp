// Several stream files at once.
#include "streamfile/MultiRead.h"

#include <algorithm>
#include <cstdint>

#include "StreamFileTest.h"
#include "streamfile/CopyThread.h"

namespace {

class MultiReadTest : public StreamFileTest {
protected:
    static constexpr long length = 1000;

    static std::string StartCall(int number) {
        return "pthread_create(default, " + Show(number) + ")\n";
    }
    static std::string JoinCall(int number) { return "pthread_join(" + Show(number) + ")\n"; }

    static std::string ExtractCalls(int number) {
        std::string const output = Show(number) + ".ts";
        return initializeCall + OpenCall(number) + LengthCall(number) + CreateCall(output) +
               CopyCalls(number, length, output) + CloseCall(output) + CloseCall(number);
    }
    static std::string ReadCallsOf(int number) {
        return initializeCall + OpenCall(number) + LengthCall(number) + ReadCalls(number, length) +
               CloseCall(number);
    }

    std::string CopyingLine(int number) const {
        return "Copying requested stream file to '" + platform.HardDisk(Show(number) + ".ts") +
               "'\n";
    }
    static std::string ResultLine(int number, std::string const& verb, long count = length) {
        return "File: " + Show(number) + "Stated file length: " + Show(length) + "  " + verb +
               ": " + Show(count) + "\n";
    }
};

// ---------------------------------------------------------------------- the threads

TEST_F(MultiReadTest, ThreadsAreStartedFromTheLastToTheFirstAndJoinedInListOrder) {
    platform.AddStreamFiles({3, 5, 8}, length);
    MultiRead("3,5,8", true);
    EXPECT_EQ(platform.Calls(), StartCall(-8) + ExtractCalls(8) + StartCall(-5) + ExtractCalls(5) +
                                    StartCall(-3) + ExtractCalls(3) + JoinCall(-3) + JoinCall(-5) +
                                    JoinCall(-8));
    ExpectOutput(CopyingLine(8) + "\n" + ResultLine(8, "copied") + CopyingLine(5) + "\n" +
                     ResultLine(5, "copied") + CopyingLine(3) + "\n" + ResultLine(3, "copied") +
                     "complete",
                 "");
}

TEST_F(MultiReadTest, ReadingIsBegunWithThePlainNumber) {
    platform.AddStreamFiles({3, 5}, length);
    MultiRead("3,5", false);
    EXPECT_EQ(platform.Calls(), StartCall(5) + ReadCallsOf(5) + StartCall(3) + ReadCallsOf(3) +
                                    JoinCall(3) + JoinCall(5));
    ExpectOutput("\n\ncomplete", ResultLine(5, "read") + ResultLine(3, "read"));
}

TEST_F(MultiReadTest, EndIsNeitherALineNorFlushed) {
    MultiRead("", true);
    EXPECT_EQ(platform.Recorded().FlushedOut(), "complete");
}

TEST_F(MultiReadTest, ListWithoutANumberStartsNothing) {
    std::string out;
    for (char const* const list : {"", "0", "0,-1,x", ",", " , ,", "-5", "abc", "-4294967295"}) {
        MultiRead(list, true);
        MultiRead(list, false);
        out += "completecomplete";
    }
    ExpectOutput(out, "");
    EXPECT_EQ(platform.Calls(), "");
}

// The numbers of a list, as they are started: from the last to the first.
struct ListCase : NamedCase {
    char const* list;
    std::vector<int> started;
};

class ListOf : public MultiReadTest, public ::testing::WithParamInterface<ListCase> {};

TEST_P(ListOf, StartsAThreadForEachPositiveNumber) {
    platform.ScriptAlways("pthread_create", {EAGAIN});
    MultiRead(GetParam().list, false);
    std::string calls;
    for (int const number : GetParam().started) {
        calls += StartCall(number);
    }
    EXPECT_EQ(platform.Calls(), calls);
    ExpectOutput("complete", "");
}

INSTANTIATE_TEST_SUITE_P(Text, ListOf,
                         ::testing::Values(ListCase{{"One"}, "7", {7}},                         //
                                           ListCase{{"Commas"}, "1,2,3", {3, 2, 1}},            //
                                           ListCase{{"Blanks"}, "1 2 3", {3, 2, 1}},            //
                                           ListCase{{"Both"}, " 1, 2 ,3 ", {3, 2, 1}},          //
                                           ListCase{{"EmptyFields"}, ",,1,,2,,", {2, 1}},       //
                                           ListCase{{"SameTwice"}, "4,4", {4, 4}},              //
                                           ListCase{{"Dropped"}, "1,0,-2,x,3", {3, 1}},         //
                                           ListCase{{"TrailingRest"}, "1abc,2;3", {2, 1}},      //
                                           ListCase{{"TabIsNoDelimiter"}, "1\t2,3", {3, 1}},    //
                                           ListCase{{"Saturated"}, "4294967297", {2147483647}}, //
                                           ListCase{{"Largest"}, "2147483647", {2147483647}}),
                         NameOfCase());

TEST_F(MultiReadTest, ListIsLeftAsItIs) {
    platform.ScriptAlways("pthread_create", {EAGAIN});
    std::string const list = "1,2 3";
    MultiRead(list.c_str(), false);
    EXPECT_EQ(list, "1,2 3");
}

class ThreadThatCannotBeStarted : public MultiReadTest,
                                  public ::testing::WithParamInterface<int> {};

// The parameter counts the threads as they are started, from the last of the list.
TEST_P(ThreadThatCannotBeStarted, IsPassedOver) {
    platform.AddStreamFiles({3, 5, 8}, length);
    platform.Script("pthread_create", GetParam(), {EAGAIN});
    MultiRead("3,5,8", false);
    std::string started;
    std::string joined;
    std::string out;
    std::string err;
    int ordinal = 0;
    for (int const number : {8, 5, 3}) {
        started += StartCall(number);
        if (++ordinal != GetParam()) {
            started += ReadCallsOf(number);
            joined.insert(0, JoinCall(number));
            out += "\n";
            err += ResultLine(number, "read");
        }
    }
    EXPECT_EQ(platform.Calls(), started + joined);
    ExpectOutput(out + "complete", err);
}

INSTANTIATE_TEST_SUITE_P(Of3, ThreadThatCannotBeStarted, ::testing::Values(1, 2, 3));

TEST_F(MultiReadTest, FilesAreExtractedSideBySide) {
    platform.threads = Threads::Real;
    platform.AddStreamFiles({1, 2, 3, 4, 5, 6}, 17 * chunk + 10);
    MultiRead("1,2,3,4,5,6", true);
    EXPECT_EQ(platform.Err(), "");
    for (int number = 1; number <= 6; ++number) {
        ExpectOnHardDisk(Show(number) + ".ts", StreamFileContent(number, 0, 17 * chunk + 10));
    }
    std::string const out = platform.Out();
    EXPECT_EQ(std::count(out.begin(), out.end(), '.'), 6 * 2 + 6); // marks, and those of ".ts"
    EXPECT_EQ(out.substr(out.size() - 8), "complete");
}

// ---------------------------------------------------------------------- the body of a thread

class CopyThreadTest : public MultiReadTest {
protected:
    void Run(int number) {
        EXPECT_EQ(CopyThread(reinterpret_cast<void*>(static_cast<std::intptr_t>(number))), nullptr);
    }
};

TEST_F(CopyThreadTest, FailedExtractionEndsOnStandardError) {
    platform.AddStreamFiles({5}, 0);
    Run(-5);
    ExpectOutput("", "zero-length file.  File was not copied.\n"
                     "File: 5Stated file length: 0  copied: 0\n");
}

TEST_F(CopyThreadTest, ExtractionThatFailsOnTheWayShowsItsCounters) {
    platform.AddStreamFiles({5}, length);
    platform.Script("write", 1, Fail(ENOSPC));
    Run(-5);
    ExpectOutput(CopyingLine(5), "Unexpected write status: " + ErrnoText(ENOSPC) + "\n" +
                                     ResultLine(5, "copied", 0));
}

TEST_F(CopyThreadTest, ReadThatSucceedsEndsOnStandardError) {
    platform.AddStreamFiles({5}, length);
    Run(5);
    ExpectOutput("\n", ResultLine(5, "read"));
}

TEST_F(CopyThreadTest, FailedReadEndsOnStandardOutput) {
    Run(5);
    ExpectOutput("File: 5Stated file length: 0  read: 0\n",
                 "could not open stream file: 2No such file or directory\n");
}

TEST_F(CopyThreadTest, ReadThatFailsOnTheWayShowsItsCounters) {
    platform.AddStreamFiles({5}, length);
    platform.Script("Read", 1, Fail(EIO));
    Run(5);
    ExpectOutput(ResultLine(5, "read", 0), "Unexpected read status: " + ErrnoText(EIO) + "\n");
}

TEST_F(CopyThreadTest, NumberZeroIsRead) {
    Run(0);
    ExpectOutput("File: 0Stated file length: 0  read: 0\n", "File number is invalid: 0\n");
}

TEST_F(CopyThreadTest, LargestNumberIsExtracted) {
    Run(-2147483647);
    ExpectOutput("", "could not open stream file: 2No such file or directory\n"
                     "File: 2147483647Stated file length: 0  copied: 0\n");
}

} // namespace
