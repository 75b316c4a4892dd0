// Several stream files read or copied out at once, in threads and in processes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <list>

#include "FileDescriptor.h"
#include "ProcessList.h"
#include "ProcessTable.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

// What threads say is mixed in any way; what counts is that nothing is lost.
Outcome Unordered(Outcome outcome) {
    std::ranges::sort(outcome.out);
    std::ranges::sort(outcome.err);
    return outcome;
}

std::size_t LengthOf(int number) {
    return 100 * static_cast<std::size_t>(number);
}

std::string Result(int number, std::size_t length, char const* verb) {
    return "File: " + std::to_string(number) + "Stated file length: " + std::to_string(length) +
           "  " + verb + ": " + std::to_string(length) + '\n';
}

class Parallel : public testing::Test {
protected:
    void CreateLoadedPool(int files) {
        recorder.CreatePool(files);
        for (int number = 1; number <= files; ++number) {
            recorder.Load(number, Noise(LengthOf(number)));
        }
    }

    static Outcome AllRead(std::vector<int> const& numbers) {
        Outcome outcome{0, notRunning + std::string(numbers.size(), '\n') + "complete", ""};
        for (int const number : numbers) {
            outcome.err += Result(number, LengthOf(number), "read");
        }
        return outcome;
    }

    Recorder recorder;
};

// --- lists -------------------------------------------------------------------------------------

struct List {
    char const* text;
    std::vector<int> numbers;
};

void PrintTo(List const& list, std::ostream* stream) {
    *stream << '"' << list.text << '"';
}

class ParallelList : public Parallel, public testing::WithParamInterface<List> {};

TEST_P(ParallelList, IsReadWhateverStandsBetweenTheNumbers) {
    CreateLoadedPool(3);
    EXPECT_EQ(Unordered(recorder.Tool({"--multiread", GetParam().text})),
              Unordered(AllRead(GetParam().numbers)));
}

INSTANTIATE_TEST_SUITE_P(Parallel, ParallelList,
                         testing::Values(List{"1", {1}}, List{"1,2,3", {1, 2, 3}},
                                         List{"3 2 1", {1, 2, 3}}, List{" ,,1 , 2,", {1, 2}},
                                         List{"2,2,2", {2, 2, 2}},
                                         List{"+1,-2,0,3x,x3,1.5", {1, 3, 1}}, List{"", {}},
                                         List{",, ,", {}}, List{"0,-1,words", {}}));

TEST_F(Parallel, ExtractsEachFileToItsOwn) {
    CreateLoadedPool(3);
    Outcome expected{0, notRunning + "complete", ""};
    for (int const number : {1, 2, 3}) {
        expected.out += "Copying requested stream file to '" + recorder.Extracted(number).string() +
                        "'\n\n" + Result(number, LengthOf(number), "copied");
    }
    EXPECT_EQ(Unordered(recorder.Tool({"--multiextract", "1,2,3"})), Unordered(expected));
    for (int const number : {1, 2, 3}) {
        EXPECT_TRUE(ReadFile(recorder.Extracted(number)) == Noise(LengthOf(number)));
    }
}

TEST_F(Parallel, FailuresAreReportedAndTheOthersGoOn) {
    CreateLoadedPool(1);
    std::string const missing = "could not open stream file: 2No such file or directory\n";
    EXPECT_EQ(Unordered(recorder.Tool({"--multiread", "1,9"})),
              Unordered({0, notRunning + "\n" + Result(9, 0, "read") + "complete",
                         missing + Result(1, LengthOf(1), "read")}));
    EXPECT_EQ(Unordered(recorder.Tool({"--multiextract", "9"})),
              Unordered({0, notRunning + "complete", missing + Result(9, 0, "copied")}));
}

TEST_F(Parallel, ReadOfALongFileIsMarkedWithItsNumber) {
    recorder.CreatePool(1);
    recorder.Load(1, Noise(16 * chunkSize));
    EXPECT_EQ(recorder.Tool({"--multiread", "1"}),
              (Outcome{0, notRunning + "1, 1, \ncomplete", Result(1, 16 * chunkSize, "read")}));
}

// --- many --------------------------------------------------------------------------------------

TEST_F(Parallel, ReadsSixtyFourFilesAtOnce) {
    CreateLoadedPool(64);
    std::string list;
    std::vector<int> numbers;
    for (int number = 1; number <= 64; ++number) {
        list += std::to_string(number) + ',';
        numbers.push_back(number);
    }
    EXPECT_EQ(Unordered(recorder.Tool({"--multiread", list})), Unordered(AllRead(numbers)));
}

TEST_F(Parallel, ReadsWithMoreThreadsThanTheProcessTableHolds) {
    CreateLoadedPool(1);
    std::string list;
    for (int thread = 0; thread < 200; ++thread) {
        list += "1 ";
    }
    EXPECT_EQ(Unordered(recorder.Tool({"--multiread", list})),
              Unordered(AllRead(std::vector<int>(200, 1))));
}

TEST_F(Parallel, SixteenProcessesReadEightFilesEach) {
    CreateLoadedPool(8);
    std::list<Child> tools;
    for (int process = 0; process < 16; ++process) {
        tools.emplace_back(recorder.ToolCommand({"--multiread", "1,2,3,4,5,6,7,8"}));
    }
    for (Child& tool : tools) {
        EXPECT_EQ(Unordered(tool.Finish()), Unordered(AllRead({1, 2, 3, 4, 5, 6, 7, 8})));
        EXPECT_FALSE(recorder.IsRegistered(tool.Pid()));
    }
    EXPECT_EQ(ListProcesses(recorder), (Outcome{0, notRunning, ""}));
}

// --- seen while they work ----------------------------------------------------------------------

// Pipes in the place of the files that are copied to: the tool waits in the middle of each copy.
class Held : public Parallel {
protected:
    Held() {
        recorder.CreatePool(4);
        for (int const number : {1, 2, 3}) {
            recorder.Load(number, Noise(2 * chunkSize));
            auto const path = recorder.Extracted(number);
            EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
            pipes.emplace_back(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
        }
        tool = std::make_unique<Child>(recorder.ToolCommand({"--multiextract", "1,2,3"}));
        for (auto const& pipe : pipes) {
            pollfd filled{pipe.Get(), POLLIN, 0};
            EXPECT_EQ(poll(&filled, 1, static_cast<int>(patience.count()) * 1000), 1);
        }
    }

    Outcome ToolListed() const {
        return {0,
                notRunning + ListedProcess(0, tool->Pid(),
                                           recorder.ToolCommand({"--multiextract", "1,2,3"}).words,
                                           {1, 2, 3}),
                ""};
    }

    std::vector<workstation::FileDescriptor> pipes;
    std::unique_ptr<Child> tool;
};

TEST_F(Held, ThreadsAreListedWithTheirFiles) {
    EXPECT_EQ(ListProcesses(recorder), ToolListed());
    tool->Signal(SIGSTOP); // a stopped one is still there
    EXPECT_EQ(ListProcesses(recorder), ToolListed());
}

TEST_F(Held, ProcessThatIsKilledIsNotListedAndItsRecordIsUsedAgain) {
    pid_t const killed = tool->Pid();
    tool->Signal(SIGKILL);
    EXPECT_EQ(tool->Finish().status, -SIGKILL);
    EXPECT_TRUE(recorder.IsRegistered(killed));
    EXPECT_EQ(ListProcesses(recorder), (Outcome{0, notRunning, ""}));
    pid_t const service = recorder.StartService().Pid();
    if (ToolsByteOrder() != std::endian::native) {
        recorder.Tool({"--lsm"}); // a program that uses the same table clears it
    }
    EXPECT_FALSE(recorder.IsRegistered(killed));
    EXPECT_EQ(ListProcesses(recorder), (Outcome{0, ListedService(service), ""}));
}

TEST_F(Held, ProcessThatIsInterruptedEndsWithoutATrace) {
    tool->Signal(SIGINT);
    EXPECT_EQ(tool->Finish().status, 255);
    EXPECT_FALSE(recorder.IsRegistered(tool->Pid()));
}

} // namespace
} // namespace e2e
