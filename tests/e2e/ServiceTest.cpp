// How the service starts and stops.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

#include "Recorder.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

Outcome const quietEnd{0, "StreamMgr: ready\n", ""};

class ServiceStop : public testing::TestWithParam<int> {};

TEST_P(ServiceStop, BySignalIsCleanAndAnotherCanStart) {
    Recorder recorder;
    recorder.CreatePool(1);
    for (int start = 0; start < 2; ++start) {
        pid_t const pid = recorder.StartService().Pid();
        EXPECT_TRUE(recorder.IsRegistered(pid));
        EXPECT_EQ(recorder.StopService(GetParam()), quietEnd);
        EXPECT_FALSE(recorder.IsRegistered(pid));
        EXPECT_TRUE(fs::is_empty(recorder.Root() / "ipc"));
    }
}

INSTANTIATE_TEST_SUITE_P(Service, ServiceStop, testing::Values(SIGTERM, SIGINT));

TEST(Service, StartsAgainAfterItWasKilled) {
    Recorder recorder;
    recorder.CreatePool(1);
    pid_t const killed = recorder.StartService().Pid();
    EXPECT_EQ(recorder.StopService(SIGKILL), (Outcome{-SIGKILL, "StreamMgr: ready\n", ""}));
    recorder.StartService();
    EXPECT_EQ(recorder.Tool({"-p"}), (Outcome{0, "Successfully sent ping request\n", ""}));
    EXPECT_FALSE(recorder.IsRegistered(killed));
    EXPECT_EQ(recorder.StopService(SIGTERM), quietEnd);
}

TEST(Service, RefusesARootThatAnotherServes) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService();
    EXPECT_EQ(RunToEnd(recorder.ServiceCommand()),
              (Outcome{1, "",
                       "StreamMgr: '" + recorder.Root().string() +
                           "' is in use by a running stream manager\n"}));
    EXPECT_EQ(recorder.Tool({"-p"}), (Outcome{0, "Successfully sent ping request\n", ""}));
    EXPECT_EQ(recorder.StopService(SIGTERM), quietEnd);
}

TEST(Service, RefusesToStartWithoutARoot) {
    Recorder const recorder;
    fs::remove(recorder.Root());
    EXPECT_EQ(RunToEnd(recorder.ServiceCommand()),
              (Outcome{1, "",
                       "StreamMgr: cannot open '" + recorder.Root().string() +
                           "': No such file or directory\n"}));
}

// The files of such a pool are not the service's, but requests can be made.
TEST(Service, ServesADirectoryAndRecordsNothing) {
    Recorder recorder;
    ASSERT_EQ(recorder.PoolTool({"create", "--files", "2", "--ext4"}).status, 0);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--record", "2=" CLIP_PATH, "--fast"});
    EXPECT_EQ(recorder.Tool({"-p", "-i", "-r", "-S"}).status, 0);
    EXPECT_EQ(recorder.Tool({"--bkupdb", recorder.HardDisk() / "copy"}),
              (Outcome{0, "backup successful\n", ""}));
    std::string const nothing =
        "the pool '" + recorder.Pool().string() + "' is a directory: nothing is recorded\n";
    std::string const log = recorder.LogOf("StreamMgr");
    EXPECT_TRUE(log.starts_with(nothing)) << log;
    EXPECT_EQ(log.find('\n' + nothing), std::string::npos) << log;
    EXPECT_NE(log.find("degraded: " + nothing), std::string::npos) << log; // for -i
    EXPECT_EQ(log.find(" started"), std::string::npos) << log;
    EXPECT_NE(log.find("storage: total 0 KiB"), std::string::npos) << log;
    EXPECT_NE(log.find("reaped 0 dead processes, wiped 0 files\n"), std::string::npos) << log;
    EXPECT_EQ(recorder.StopService(SIGTERM), quietEnd);
    EXPECT_TRUE(fs::is_empty(recorder.Pool()));
}

TEST(Service, RefusesToStartWithoutAPool) {
    Recorder const recorder;
    EXPECT_EQ(RunToEnd(recorder.ServiceCommand()),
              (Outcome{1, "",
                       "StreamMgr: pool '" + recorder.Pool().string() +
                           "': cannot open: No such file or directory\n"}));
}

TEST(Service, RefusesADamagedDatabaseAndLeavesItAsItIs) {
    Recorder recorder;
    recorder.CreatePool(1);
    fs::path const database = recorder.Root() / "events.db";
    std::string const damaged = "SQLite format 3" + std::string(1, '\0') + Noise(5000);
    WriteFile(database, damaged);
    Outcome const outcome = RunToEnd(recorder.ServiceCommand());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(outcome.err.starts_with("StreamMgr: database '" + database.string() + "': "))
        << outcome;
    EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome;
    EXPECT_EQ(ReadFile(database), damaged);
    EXPECT_TRUE(fs::is_empty(recorder.Root() / "ipc"));
    fs::remove(database);
    recorder.StartService();
    EXPECT_EQ(recorder.StopService(SIGTERM), quietEnd);
}

TEST(Service, RefusesAnUnknownOption) {
    Recorder const recorder;
    EXPECT_EQ(RunToEnd(recorder.ServiceCommand({"--nonsense"})),
              (Outcome{2, "",
                       "StreamMgr: The following argument was not expected: --nonsense "
                       "(see StreamMgr --help)\n"}));
}

TEST(Service, LogsWhoAskedForWhat) {
    Recorder recorder;
    recorder.CreatePool(1);
    recorder.StartService();
    Child tool(recorder.ToolCommand({"-p"}));
    EXPECT_EQ(tool.Finish().status, 0);
    EXPECT_EQ(recorder.StopService(SIGTERM), quietEnd);
    EXPECT_NE(recorder.Log().find("StreamMgr: ping requested by StreamMgrCli_" +
                                  std::to_string(tool.Pid()) + '\n'),
              std::string::npos)
        << recorder.Log();
}

} // namespace
} // namespace e2e
