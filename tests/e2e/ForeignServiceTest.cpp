// A service that another user runs in the recorder's directory.
#include <gtest/gtest.h>

#include <csignal>

#include "Recorder.h"
#include "support/OtherUser.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

std::string const reid = "20200101-000000:00000000";

// Every request there is.
std::vector<Words> Requests(Recorder const& recorder) {
    return {{"-p"},
            {"-q"},
            {"-r"},
            {"-i"},
            {"-S"},
            {"-s", "3"},
            {"-d", reid},
            {"-f", "0"},
            {"-F", "0"},
            {"--ratf", "010120-000000,010121-000000"},
            {"--split", reid + ",1"},
            {"--bkupdb", recorder.Directory() / "backup"},
            {"-c"}};
}

class ForeignService : public testing::Test {
protected:
    void SetUp() override { SKIP_UNLESS_ROOT(); }

    // Gives the recorder to the other user, and starts that user's service on it.
    Child StartForeignService() {
        recorder.CreatePool(1);
        fs::permissions(recorder.Directory(), fs::perms(0755));
        WriteFile(recorder.LogPath(), "");
        fs::permissions(recorder.LogPath(), fs::perms(0666));
        for (fs::path const& path : {recorder.Root(), recorder.Pool()}) {
            EXPECT_EQ(chown(path.c_str(), otherUser, otherUser), 0);
        }
        // The build may lie where that user has no access.
        Command command = recorder.ServiceCommand();
        fs::path const program = recorder.Directory() / "StreamMgr";
        fs::copy_file(command.words.front(), program);
        fs::permissions(program, fs::perms(0755));
        std::string const user = std::to_string(otherUser);
        command.words = {"setpriv", "--reuid=" + user, "--regid=" + user, "--clear-groups",
                         program};
        return Child(command);
    }

    Recorder recorder;
};

// As if no service ran, apart from the line about the running process.
TEST_F(ForeignService, FailsEveryRequestAndIsNamedInTheLog) {
    std::vector<Outcome> expected;
    {
        Recorder const deserted;
        for (Words const& request : Requests(recorder)) {
            Outcome outcome = deserted.Tool(request);
            ASSERT_TRUE(outcome.out.starts_with(notRunning)) << outcome;
            outcome.out.erase(0, notRunning.size());
            expected.push_back(outcome);
        }
    }
    Child service = StartForeignService();
    ASSERT_TRUE(service.Says("StreamMgr: ready\n"));
    WriteFile(recorder.Directory() / "service.pid", std::to_string(service.Pid()) + '\n');

    std::vector<Outcome> outcomes;
    int named = 0;
    for (Words const& request : Requests(recorder)) {
        outcomes.push_back(recorder.Tool(request));
        EXPECT_TRUE(recorder.Logs("StreamMgr is served by user 'nobody' (uid 65534), not by user "
                                  "'root' (uid 0): not used",
                                  ++named));
    }
    EXPECT_EQ(outcomes, expected);
    EXPECT_EQ(recorder.PoolTool({"status"}),
              (Outcome{4, "",
                       "d2b: no service: StreamMgr is served by user 'nobody' (uid 65534), not by "
                       "user 'root' (uid 0): not used\n"}));
    EXPECT_EQ(outcomes.front(), (Outcome{99, "", "Error sending request ping\n"}));

    service.Signal(SIGTERM);
    EXPECT_EQ(service.Finish(), (Outcome{0, "StreamMgr: ready\n", ""}));
    EXPECT_EQ(recorder.LogOf("StreamMgr").find("requested"), std::string::npos) << recorder.Log();
}

} // namespace
} // namespace e2e
