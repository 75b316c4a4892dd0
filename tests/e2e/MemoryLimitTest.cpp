// The tool where memory runs out, and how much it takes.
#include <gtest/gtest.h>

#include <fstream>

#include "Recorder.h"
#include "TransportStream.h"
#include "support/Sanitizers.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

// Too little for the buffer that holds a slot, enough for everything else.
constexpr rlim_t memory = 0x4000000;

class TickBuffer : public testing::Test {
protected:
    void SetUp() override {
        if (hasAddressSanitizer || hasThreadSanitizer) {
            GTEST_SKIP() << "the sanitizers reserve more memory than the limit allows";
        }
        if (ToolIsEmulated()) {
            GTEST_SKIP() << "the limit would be the emulator's";
        }
        recorder.CreatePool(1);
        recorder.Load(1, Noise(chunkSize));
    }

    // The statistics fail; what follows them is carried out all the same.
    void ExpectFailure(Outcome const& outcome) const {
        Command command = recorder.ToolCommand({"--stats", "1", "-p"});
        command.limits[RLIMIT_AS] = memory;
        Child tool(command);
        EXPECT_EQ(tool.Finish(), outcome);
        EXPECT_FALSE(recorder.IsRegistered(tool.Pid()));
    }

    Recorder recorder;
};

TEST_F(TickBuffer, ThatCannotBeObtainedIsReportedAndThePingIsSent) {
    recorder.StartService();
    ExpectFailure({99, "Successfully sent ping request\n", "std::bad_alloc\n"});
}

TEST_F(TickBuffer, ThatCannotBeObtainedIsReportedWithoutAService) {
    ExpectFailure({99, notRunning, "std::bad_alloc\nError sending request ping\n"});
}

// One buffer for all files, of the size of a slot: a second one would be seen. 16 MiB are more than
// enough for all the rest, which needs 3 to 4.
TEST(TickStatistics, OfAFullPoolNeedTheMemoryOfOneSlot) {
    if (hasAddressSanitizer || hasThreadSanitizer) {
        GTEST_SKIP() << "the sanitizers keep memory that was given back";
    }
    if (ToolIsEmulated()) {
        GTEST_SKIP() << "the memory would be the emulator's";
    }
    constexpr int files = 4;
    constexpr long slotKiB = slotSize / 1024;
    constexpr long restKiB = 16 * 1024;
    Recorder recorder;
    recorder.CreatePool(files);
    fs::path const source = recorder.Directory() / "slot";
    {
        std::string const clip = TickedClip(recorder, {"--first", "1", "--time", "0"});
        std::ofstream slot(source, std::ios::binary);
        while (slot.tellp() < static_cast<std::streamoff>(slotSize)) {
            slot << clip;
        }
    }
    fs::resize_file(source, slotSize);
    for (int number = 1; number <= files; ++number) {
        ASSERT_EQ(recorder.PoolTool({"load", std::to_string(number), source}).status, 0);
    }
    Child tool(recorder.ToolCommand({"--stats", "0"}));
    Outcome const outcome = tool.Finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_GT(tool.PeakMemoryKiB(), slotKiB);
    EXPECT_LT(tool.PeakMemoryKiB(), slotKiB + restKiB);
}

} // namespace
} // namespace e2e
