// How the tool prepares itself before the first option.
#include "CliTest.h"

namespace {

class PreInitTest : public CliTest {
protected:
    std::string const made = platform.Recorded().Trace();

    static constexpr char const* asked = "ipc.Init()\n"
                                         "popen(\"pidof StreamMgr\", \"r\")\n"
                                         "fgets(1024)\n";
};

TEST_F(PreInitTest, RunningServiceIsFoundWithoutAWord) {
    EXPECT_EQ(cli.PreInit(), 1U);
    EXPECT_EQ(platform.Recorded().Trace(), made + asked + "pclose()\n");
}

TEST_F(PreInitTest, MissingServiceIsReportedAndIsNoFailure) {
    platform.pidofOutput = "";
    EXPECT_EQ(cli.PreInit(), 1U);
    EXPECT_EQ(platform.Calls(), made + asked + "pclose()\n");
    EXPECT_EQ(platform.Recorded().FlushedOut(), "StreamMgr is currently NOT running\n<flush>");
    EXPECT_EQ(platform.Err(), "");
}

TEST_F(PreInitTest, FailedConnectionIsReportedFirstAndTheServiceIsLookedForAllTheSame) {
    platform.Script("Init", 1, {-1});
    platform.pidofOutput = "";
    EXPECT_EQ(cli.PreInit(), 2U);
    EXPECT_EQ(platform.Recorded().Trace(), made + "ipc.Init()\n"
                                                  "err \"Error initializing the connection\\n\"\n"
                                                  "popen(\"pidof StreamMgr\", \"r\")\n"
                                                  "fgets(1024)\n"
                                                  "out \"StreamMgr is currently NOT running\\n\"\n"
                                                  "pclose()\n");
}

TEST_F(PreInitTest, FailedConnectionToARunningServiceFails) {
    platform.Script("Init", 1, {5});
    EXPECT_EQ(cli.PreInit(), 2U);
    ExpectOutput("", "Error initializing the connection\n");
}

TEST_F(PreInitTest, FailedReadOfTheProcessIdCountsAsNotRunning) {
    platform.Script("fgets", 1, {0, EIO});
    EXPECT_EQ(cli.PreInit(), 1U);
    ExpectOutput("StreamMgr is currently NOT running\n", "");
}

TEST_F(PreInitTest, FailedPipeCountsAsNotRunning) {
    platform.Script("popen", 1, {0, EMFILE});
    EXPECT_EQ(cli.PreInit(), 1U);
    ExpectOutput("StreamMgr is currently NOT running\n", "");
}

TEST_F(PreInitTest, AnyLineMeansRunningWhateverItSays) {
    std::string const tooLong(5000, '7');
    for (std::string const& line :
         {std::string("321 322 323\n"), std::string("321\n322\n"), std::string("\n"),
          std::string("x"), std::string("0\n"), tooLong}) {
        platform.pidofOutput = line;
        EXPECT_EQ(cli.PreInit(), 1U) << line;
    }
    ExpectOutput("", "");
}

} // namespace
