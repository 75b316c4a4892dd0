// The tool where memory runs out.
#include <gtest/gtest.h>

#include "Recorder.h"
#include "support/Sanitizers.h"

namespace e2e {
namespace {

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

} // namespace
} // namespace e2e
