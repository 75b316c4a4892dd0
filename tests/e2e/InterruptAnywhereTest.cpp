// Ctrl-C at any moment of every kind of work.
#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <csignal>
#include <random>
#include <sstream>
#include <thread>

#include "TransportStream.h"
#include "support/Stopwatch.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

struct Work {
    char const* name;
    Words words; // for the tool, at its shortest
    int times;   // in one run, so that it takes a while
};

void PrintTo(Work const& work, std::ostream* stream) {
    *stream << work.name;
}

// How often each work is interrupted.
int Rounds() {
    char const* const rounds = std::getenv("STREAMMGR_INTERRUPTS");
    return rounds != nullptr ? std::stoi(rounds) : 10;
}

class InterruptAnywhere : public testing::TestWithParam<Work> {
protected:
    static constexpr std::size_t insertedSize = 10 * chunkSize;

    // The tool exits in its signal handler, as it is required to (see InterruptTest.cpp).
    InterruptAnywhere() {
        setenv("ASAN_OPTIONS",
               "detect_leaks=0:quarantine_size_mb=0:thread_local_quarantine_size_kb=0", 1);
        recorder.CreatePool(3);
        ticked = TickedClip(recorder, {"--first", "1", "--time", "1000000000"});
        recorder.Load(1, ticked);
        recorder.Load(2, Noise(20 * chunkSize));
        WriteFile(recorder.Extracted(3), Noise(insertedSize));
        recorder.StartService();
    }
    ~InterruptAnywhere() override { unsetenv("ASAN_OPTIONS"); }

    Command CommandOf(Work const& work) const {
        Words words;
        for (int time = 0; time < work.times; ++time) {
            words.insert(words.end(), work.words.begin(), work.words.end());
        }
        return recorder.ToolCommand(words);
    }

    // Waits until the program has a handler for SIGINT, or has ended.
    static void AwaitHandler(pid_t pid) {
        constexpr unsigned long interrupt = 1UL << (SIGINT - 1U);
        unsigned long caught = 0;
        std::string state = "?";
        while ((caught & interrupt) == 0 && state != "Z") {
            std::istringstream lines(ReadFile("/proc/" + std::to_string(pid) + "/status"));
            for (std::string key; lines >> key;) {
                if (key == "State:") {
                    lines >> state;
                } else if (key == "SigCgt:") {
                    lines >> std::hex >> caught;
                }
            }
        }
    }

    void ExpectPoolUnloaded(pid_t pid) const {
        EXPECT_FALSE(recorder.IsRegistered(pid));
        EXPECT_FALSE(fs::exists(recorder.Root() / "ipc" / ("StreamMgrCli_" + std::to_string(pid))));
        for (int file = 0; file < 3; ++file) {
            std::string const entry = ReadPiece(recorder.Pool(), 4096 + 16 * file, 16);
            EXPECT_EQ(entry.substr(0, 4), std::string(4, '\0')) << "the controller is set";
            EXPECT_EQ(entry.substr(8, 4), std::string(4, '\0')) << "a reader is counted";
        }
    }

    // The length that the table states is that of what was copied whole, or the former one.
    void ExpectWholeFiles() const {
        std::string const whole = Noise(insertedSize);
        std::string const length = ReadPiece(recorder.Pool(), 4096 + 2 * 16 + 12, 4);
        EXPECT_TRUE(length == std::string(4, '\0') ||
                    ReadPiece(recorder.Pool(), 8192 + 2 * std::streamoff{slotSize}, insertedSize) ==
                        whole);
        EXPECT_TRUE(ReadPiece(recorder.Pool(), 8192, ticked.size()) == ticked);
    }

    Recorder recorder;
    std::string ticked;
};

TEST_P(InterruptAnywhere, EndsItAndLeavesThePoolUnharmed) {
    if (ToolIsEmulated()) {
        GTEST_SKIP() << "an emulator has handlers of its own from its start on";
    }
    Work const& work = GetParam();
    Stopwatch const whole;
    if (work.words.front() != "-c") { // which ends by an interrupt only
        Outcome const outcome = RunToEnd(CommandOf(work));
        ASSERT_EQ(outcome.status, 0) << outcome;
    }
    auto const longestUs = static_cast<unsigned int>(whole.ElapsedMs() + 2) * 1000;
    int interrupted = 0;
    std::minstd_rand random(1);
    for (int round = 0; round < Rounds() && !HasFailure(); ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        Child tool(CommandOf(work));
        AwaitHandler(tool.Pid());
        std::this_thread::sleep_for(std::chrono::microseconds(random() % longestUs));
        tool.Signal(SIGINT);
        Outcome const outcome = tool.Finish();
        EXPECT_TRUE(outcome.status == 255 || outcome.status == 0) << outcome;
        interrupted += outcome.status == 255 ? 1 : 0;
        ExpectPoolUnloaded(tool.Pid());
        ExpectWholeFiles();
    }
    EXPECT_GT(interrupted, 0);
    Outcome const check = recorder.PoolTool({"check"});
    EXPECT_EQ(check.status, 0) << check;
}

INSTANTIATE_TEST_SUITE_P(
    , InterruptAnywhere,
    testing::Values(
        Work{"x", {"-x", "2"}, 20}, Work{"X", {"-X", "2"}, 1}, Work{"e", {"-e", "1,20-40"}, 20},
        Work{"y", {"-y", "3,3"}, 10}, Work{"Y", {"-Y", "3"}, 20},
        Work{"stats", {"--stats", "1"}, 20}, Work{"tickinfo", {"--tickinfo", "1"}, 20},
        Work{"multiread", {"--multiread", "1,2"}, 20},
        Work{"multiextract", {"--multiextract", "1,2"}, 20}, Work{"c", {"-c"}, 1},
        Work{"requests", {"-p", "-i", "-S", "-r", "-f", "0", "-F", "1", "--lsm"}, 10},
        Work{"events", {"--ratf", "010100-000000,010101-000000", "-d", "nothing", "--lproc"}, 20}),
    [](auto const& test) { return std::string(test.param.name); });

} // namespace
} // namespace e2e
