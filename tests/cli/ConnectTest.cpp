// Option -c: subscribing and waiting for notifications.
#include <csignal>

#include "CliTest.h"
#include "LogClient.h"
#include "fakes/Show.h"

namespace {

class ConnectTest : public CliTest {
protected:
    ConnectTest() { platform.signalHandlers[SIGINT] = &TerminationHandler; }

    // Connects and waits until the interrupt, with only what comes then in the record.
    void Connect() {
        try {
            (void)cli.ProcessOption('c', nullptr);
            ADD_FAILURE() << "came back";
        } catch (ProcessExit const& exit) {
            EXPECT_EQ(exit.status, -1);
        }
    }

    static std::string MakeCalls() {
        return "ServerName(20)\nSubscribeClient(StreamMgrCli_4711, \"TheService\", 5000)\n";
    }
    // The subscriptions up to and with the nth.
    static std::string SubscribeCalls(int count) {
        std::string const nothing = Show(std::string(4, '\0'));
        std::string const noEvent = Show(std::string(17, '\0'));
        std::string const calls[] = {"Subscribe(10, 13844, " + nothing + ", null)\n",
                                     "Subscribe(11, 13845, " + nothing + ", null)\n",
                                     "Subscribe(12, 13846, " + noEvent + ", null)\n"};
        std::string all;
        for (int i = 0; i < count; ++i) {
            all += calls[i];
        }
        return all;
    }
    static constexpr char const* receiveCall = "ipc.Receive(-1, 0, \"\", null)\n";
    static constexpr char const* endCalls = "pool.Unload()\nexit(-1)\n";

    std::string const before = platform.Calls();
};

TEST_F(ConnectTest, SubscribesThreeTimesAndReceivesUntilTheInterrupt) {
    Connect();
    EXPECT_EQ(platform.Calls(), before + MakeCalls() + SubscribeCalls(3) + receiveCall + endCalls);
    ExpectOutput("", "");
}

TEST_F(ConnectTest, NotificationsAreLoggedInTheirOrderUntilTheInterrupt) {
    std::string const reid("\0\0\0\x4"
                           "1:23",
                           8);
    std::string const event = reid + std::string(13, '\0');
    platform.incoming = {{13846, event}, {13844, std::string(20, '\0')}, {13845, reid}};
    Connect();
    auto const entries = [](std::vector<std::string> const& texts) {
        std::string calls = receiveCall;
        for (std::string const& text : texts) {
            calls += "log.Level()\n" + LogEntry(1, text);
        }
        return calls;
    };
    EXPECT_EQ(CallsWithoutLines(),
              before + MakeCalls() + SubscribeCalls(3) +
                  entries({"RecordStopHandler: Record stop, reid 1:23"}) +
                  entries({"subscription update:", "\ttotal: 0 MB", "\tbuffer: 0 MB",
                           "\tevent untransferred in buffer: 0 MB",
                           "\tevent untransferred not in buffer: 0 MB", "\tfree: 0 MB"}) +
                  entries({"RecordStartHandler: Record start, reid 1:23"}) + receiveCall +
                  endCalls);
    ExpectOutput("", "");
}

TEST_F(ConnectTest, FailedReceiveIsIgnored) {
    platform.Script("Receive", 1, {1});
    platform.Script("Receive", 2, {-1});
    Connect();
    EXPECT_EQ(platform.Calls(), before + MakeCalls() + SubscribeCalls(3) + receiveCall +
                                    receiveCall + receiveCall + endCalls);
}

TEST_F(ConnectTest, OptionsAfterItAreNeverReached) {
    std::size_t const start = platform.Calls().size();
    EXPECT_THROW(PlayOptions({{'c', nullptr}, {'p', nullptr}})(cli), ProcessExit);
    EXPECT_EQ(platform.Calls().find("message.Allocate", start), std::string::npos);
}

class FailedSubscription : public ConnectTest, public ::testing::WithParamInterface<int> {};

TEST_P(FailedSubscription, IsLoggedAndLeavesTheEarlierOnes) {
    platform.Script("Subscribe", GetParam(), {-1});
    EXPECT_EQ(cli.ProcessOption('c', nullptr), 2U);
    EXPECT_EQ(CallsWithoutLines(), before + MakeCalls() + SubscribeCalls(GetParam()) +
                                       "log.Level()\n" +
                                       LogEntry(1, "Could not subscribe to StreamMgr"));
    ExpectOutput("", "");
}

TEST_P(FailedSubscription, IsSilentWhileTheLevelIsOff) {
    LogClient::Instance()->Level(2);
    platform.Script("Subscribe", GetParam(), {1});
    EXPECT_EQ(cli.ProcessOption('c', nullptr), 2U);
    EXPECT_EQ(platform.Calls(),
              before + MakeCalls() + SubscribeCalls(GetParam()) + "log.Level()\n");
}

INSTANTIATE_TEST_SUITE_P(Number, FailedSubscription, ::testing::Values(1, 2, 3),
                         ::testing::PrintToStringParamName());

TEST_F(ConnectTest, OldClientGoesBeforeTheNewOneComes) {
    platform.ScriptAlways("Subscribe", {1});
    LogClient::Instance()->Level(0);
    EXPECT_EQ(cli.ProcessOption('c', nullptr), 2U);
    EXPECT_EQ(cli.ProcessOption('c', nullptr), 2U);
    std::string calls = platform.Calls();
    std::size_t const gone = calls.find("~SubscribeClient(StreamMgrCli_4711)\n");
    ASSERT_NE(gone, std::string::npos);
    EXPECT_NE(calls.find("\nSubscribeClient(", gone), std::string::npos);
}

TEST_F(ConnectTest, ClientGoesWithTheToolBeforeItsEndpoint) {
    platform.ScriptAlways("Subscribe", {1});
    LogClient::Instance()->Level(0);
    std::size_t const start = platform.Calls().size();
    {
        StreamMgrCli other("other");
        EXPECT_EQ(other.ProcessOption('c', nullptr), 2U);
    }
    EXPECT_EQ(platform.Calls().substr(start),
              "CommonCli()\nLinxIpc(\"other\")\nServerName(20)\n"
              "ServerName(20)\nSubscribeClient(other, \"TheService\", 5000)\n" +
                  SubscribeCalls(1) +
                  "log.Level()\n"
                  "~SubscribeClient(other)\n~LinxIpc(\"other\")\n~CommonCli()\n");
}

} // namespace
