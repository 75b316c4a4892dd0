// Ctrl-C at any moment of a copy.
#include <gtest/gtest.h>
#include <poll.h>

#include <csignal>
#include <random>

#include "Recorder.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

// Small files make for many moments at which a file is opened or closed, large ones for many at
// which data moves.
class Interrupt : public testing::TestWithParam<std::size_t> {
protected:
    // The tool exits in its signal handler, as it is required to, and exit() frees memory. When the
    // signal interrupts the address sanitizer's allocator, this would wait for a lock of the thread
    // itself: the quarantine and the search for leaks take such locks, so they are switched off.
    Interrupt() {
        setenv("ASAN_OPTIONS",
               "detect_leaks=0:quarantine_size_mb=0:thread_local_quarantine_size_kb=0", 1);
    }
    ~Interrupt() override { unsetenv("ASAN_OPTIONS"); }
};

TEST_P(Interrupt, AlwaysEndsTheCopyWith255AndLeavesThePoolUnharmed) {
    int const rounds = ToolIsEmulated() ? 40 : 200;
    constexpr int longestDelayMs = 40;
    Recorder recorder;
    recorder.CreatePool(1);
    std::string const content = Noise(GetParam());
    recorder.Load(1, content);

    Words arguments;
    for (int copy = 0; copy < 2000; ++copy) { // more than end within the longest delay
        arguments.insert(arguments.end(), {"-x", "1"});
    }
    std::minstd_rand random(1);
    for (int round = 0; round < rounds; ++round) {
        Child tool(recorder.ToolCommand(arguments));
        ASSERT_TRUE(tool.Says("Copying"));
        poll(nullptr, 0, static_cast<int>(random() % longestDelayMs));
        tool.Signal(SIGINT);
        Outcome const outcome = tool.Finish();
        ASSERT_EQ(outcome.status, 255) << outcome;
        ASSERT_EQ(outcome.err, "");
        ASSERT_FALSE(recorder.IsRegistered(tool.Pid())) << "round " << round;
        ASSERT_TRUE(fs::is_empty(recorder.Root() / "ipc")) << "round " << round;
    }

    Outcome const check = RunToEnd(recorder.PoolToolCommand({"check"}));
    EXPECT_EQ(check.status, 0) << check;
    EXPECT_EQ(recorder.Tool({"-x", "1"}).status, 0);
    EXPECT_TRUE(ReadFile(recorder.Extracted(1)) == content);
}

INSTANTIATE_TEST_SUITE_P(Extract, Interrupt, testing::Values(chunkSize, slotSize / 4));

TEST(InterruptOnATerminal, ComesFromTheKeyboard) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService();
    Command command = recorder.ToolCommand({"-l"});
    command.onTerminal = true;
    Child tool(command);
    ASSERT_TRUE(tool.Says("New log level: "));
    tool.Type("\x03");
    EXPECT_EQ(tool.Finish().status, 255);
}

} // namespace
} // namespace e2e
