// A pool whose space is taken at once, on a disk that is or becomes full.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "Recorder.h"
#include "SmallDisk.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

TEST(FullDisk, IsMetWhenThePoolIsMadeAndNothingIsLeft) {
    Recorder recorder;
    SmallDisk const disk(recorder.Root(), slotSize);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "only the superuser may mount a file system";
    }
    std::string const deep = recorder.Root() / "a/b";
    Command command = recorder.PoolToolCommand({"create", "--files", "1", "--allocate"});
    for (std::string const& root : {recorder.Root().string(), deep}) {
        command.environment["STREAMMGR_ROOT"] = root;
        EXPECT_EQ(RunToEnd(command), (Outcome{1, "",
                                              "d2b: cannot allocate 98574336 bytes for '" + root +
                                                  "/pool.new': No space left on device\n"}));
        EXPECT_TRUE(fs::is_empty(recorder.Root()));
        EXPECT_EQ(fs::space(recorder.Root()).free, slotSize);
    }
    command.words.pop_back();
    EXPECT_EQ(RunToEnd(command).status, 0);
}

// Room for the pool, and 2 MiB for the database.
TEST(FullDisk, DoesNotStopARecordingIntoAnAllocatedPool) {
    constexpr std::size_t rest = 2 << 20;
    Recorder recorder;
    SmallDisk const disk(recorder.Root(), 8192 + slotSize + rest);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "only the superuser may mount a file system";
    }
    ASSERT_EQ(recorder.PoolTool({"create", "--size", "98574336", "--allocate"}),
              (Outcome{0, "", ""}));
    EXPECT_EQ(fs::file_size(recorder.Pool()), 98574336U);
    EXPECT_LE(fs::space(recorder.Root()).free, rest);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--loop", "--fast"});
    ASSERT_TRUE(recorder.Logs("recording into stream file 1\n", 3)); // the whole slot, twice
    EXPECT_EQ(recorder.PoolTool({"status"}).status, 0);
    EXPECT_EQ(recorder.Log().find("No space left"), std::string::npos) << recorder.Log();
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
}

} // namespace
} // namespace e2e
