// Option -c: subscriptions, and what comes of notifications.
#include <csignal>
#include <functional>

#include "CliTest.h"
#include "LogClient.h"
#include "StreamMgrApi.h"
#include "fakes/Show.h"

namespace {

constexpr unsigned int messageStorage = 13844;
constexpr unsigned int messageRecordStart = 13845;
constexpr unsigned int messageRecordStop = 13846;

std::string Encoded(Item& item) {
    std::string bytes(item.Size(), '\0');
    item.Encode(reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

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

    // What is recorded while these messages come.
    std::string CallsOfMessages() {
        std::size_t const start = CallsWithoutLines().size();
        Connect();
        std::string const calls = CallsWithoutLines().substr(start);
        std::string const head = MakeCalls() + SubscribeCalls(3) + receiveCall;
        std::string const tail = std::string(receiveCall) + endCalls;
        EXPECT_EQ(calls.substr(0, head.size()), head);
        EXPECT_EQ(calls.substr(calls.size() - tail.size()), tail);
        ExpectOutput("", "");
        return calls.substr(head.size(), calls.size() - head.size() - tail.size());
    }

    std::string const before = platform.Calls();
};

// ---------------------------------------------------------------------- subscribing

TEST_F(ConnectTest, SubscribesThreeTimesAndReceivesUntilTheInterrupt) {
    Connect();
    EXPECT_EQ(platform.Calls(), before + MakeCalls() + SubscribeCalls(3) + receiveCall + endCalls);
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

// ---------------------------------------------------------------------- notifications

std::string SpaceMessage(std::vector<unsigned int> const& sizesKiB) {
    std::string payload;
    for (unsigned int const size : sizesKiB) {
        UIntItem item(size);
        payload += Encoded(item);
    }
    return payload;
}

// What a storage notification logs, one entry a figure.
std::string SpaceEntries(std::vector<std::string> const& megabytes,
                         std::function<std::string(std::string const&)> const& entry) {
    char const* const labels[] = {"\ttotal: ", "\tbuffer: ", "\tevent untransferred in buffer: ",
                                  "\tevent untransferred not in buffer: ", "\tfree: "};
    std::string entries = "log.Level()\n" + entry("subscription update:");
    for (std::size_t i = 0; i < megabytes.size(); ++i) {
        entries += "log.Level()\n" + entry(labels[i] + megabytes[i] + " MB");
    }
    return entries;
}

TEST_F(ConnectTest, StorageNotificationIsLoggedFigureByFigureInMegabytes) {
    platform.incoming = {{messageStorage, SpaceMessage({1024 * 1024, 1024, 1023, 2047, 0})},
                         {messageStorage, SpaceMessage({4294967295U, 0x80000000, 1, 1025, 0x3ff})}};
    auto const entry = [](std::string const& text) { return LogEntry(1, text); };
    EXPECT_EQ(CallsOfMessages(), SpaceEntries({"1024", "1", "0", "1", "0"}, entry) + receiveCall +
                                     SpaceEntries({"4194303", "2097152", "0", "1", "0"}, entry));
}

TEST_F(ConnectTest, StorageNotificationIsSilentWhileTheLevelIsOff) {
    LogClient::Instance()->Level(2);
    platform.incoming = {{messageStorage, SpaceMessage({1, 2, 3, 4, 5})}};
    EXPECT_EQ(CallsOfMessages(),
              SpaceEntries({"", "", "", "", ""}, [](auto const&) { return ""; }));
}

TEST_F(ConnectTest, ShortStorageNotificationHasZerosForTheRest) {
    platform.incoming = {{messageStorage, SpaceMessage({2048, 3072}) + "ab"}, {messageStorage, ""}};
    auto const entry = [](std::string const& text) { return LogEntry(1, text); };
    EXPECT_EQ(CallsOfMessages(), SpaceEntries({"2", "3", "0", "0", "0"}, entry) + receiveCall +
                                     SpaceEntries({"0", "0", "0", "0", "0"}, entry));
}

TEST_F(ConnectTest, RecordStartIsLoggedWithItsEvent) {
    StringItem reid("0123:45");
    platform.incoming = {{messageRecordStart, Encoded(reid)}};
    EXPECT_EQ(CallsOfMessages(),
              "log.Level()\n" + LogEntry(1, "RecordStartHandler: Record start, reid 0123:45"));
}

TEST_F(ConnectTest, RecordStopIsLoggedWithItsEvent) {
    StreamMgrApi::EventRecordItem event;
    event.reid.Value("0123:45");
    event.stopTime.Value(-1);
    platform.incoming = {{messageRecordStop, Encoded(event)}};
    EXPECT_EQ(CallsOfMessages(),
              "log.Level()\n" + LogEntry(1, "RecordStopHandler: Record stop, reid 0123:45"));
}

TEST_F(ConnectTest, RecordNotificationsAreSilentWhileTheLevelIsOff) {
    LogClient::Instance()->Level(2);
    StringItem reid("0123:45");
    StreamMgrApi::EventRecordItem event;
    platform.incoming = {{messageRecordStart, Encoded(reid)}, {messageRecordStop, Encoded(event)}};
    EXPECT_EQ(CallsOfMessages(), "log.Level()\n" + std::string(receiveCall) + "log.Level()\n");
}

TEST_F(ConnectTest, MalformedRecordNotificationsHaveNoEvent) {
    platform.incoming = {{messageRecordStart, std::string("\0\0\0\x7f"
                                                          "abc",
                                                          7)},
                         {messageRecordStop, ""}};
    EXPECT_EQ(CallsOfMessages(), "log.Level()\n" +
                                     LogEntry(1, "RecordStartHandler: Record start, reid ") +
                                     receiveCall + "log.Level()\n" +
                                     LogEntry(1, "RecordStopHandler: Record stop, reid "));
}

TEST_F(ConnectTest, OtherMessagesAreNobodysBusiness) {
    platform.incoming = {{4711, "text"}};
    EXPECT_EQ(CallsOfMessages(), "");
}

// ---------------------------------------------------------------------- the storage item

TEST_F(ConnectTest, StorageItemIsFiveWordsBackToBack) {
    StreamMgrApi::StreamSpaceStatusItem item;
    EXPECT_EQ(item.Size(), 20U);
    EXPECT_EQ(Encoded(item), std::string(20, '\0'));
    item.total.Value(0x01020304);
    item.buffer.Value(0x05060708);
    item.untransferredInBuffer.Value(0x090a0b0c);
    item.untransferredNotInBuffer.Value(0x0d0e0f10);
    item.free.Value(0x11121314);
    std::string bytes = Encoded(item);
    EXPECT_EQ(bytes, "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10\x11\x12\x13"
                     "\x14");

    platform.message = bytes + "rest";
    auto* const begin = reinterpret_cast<unsigned char*>(platform.message.data());
    StreamMgrApi::StreamSpaceStatusItem copy;
    EXPECT_EQ(copy.Decode(begin), begin + 20);
    EXPECT_EQ(Encoded(copy), bytes);
    std::string out(21, '\0');
    auto* const place = reinterpret_cast<unsigned char*>(out.data());
    EXPECT_EQ(item.Encode(place), place + 20);
}

} // namespace
