// What the handlers of the notifications write to the log, and the storage item.
#include "notifications/NotificationHandlers.h"

#include <functional>

#include "LinxIpc.h"
#include "LogClient.h"
#include "StreamMgrApi.h"
#include "SubscribeClient.h"
#include "fakes/IpcEndpoint.h"
#include "fakes/SeamTest.h"
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

class NotificationHandlersTest : public SeamTest {
protected:
    NotificationHandlersTest() {
        EXPECT_EQ(endpoint.Ipc().Init(), 0);
        EXPECT_TRUE(notifications::SubscribeToAll(client));
    }

    static constexpr char const* receiveCall = "ipc.Receive(-1, 0, \"\", null)\n";

    // What is recorded while the messages of platform.incoming come, from the first on.
    std::string CallsOfMessages() {
        std::size_t const start = CallsWithoutLines().size();
        while (!platform.incoming.empty()) {
            EXPECT_EQ(endpoint.Ipc().Receive(-1, 0, LinxIpc::emptyString, nullptr), 0);
        }
        std::string const calls = CallsWithoutLines().substr(start);
        std::string const head = receiveCall;
        EXPECT_EQ(calls.substr(0, head.size()), head);
        ExpectOutput("", "");
        return calls.substr(head.size());
    }

    IpcEndpoint endpoint{platform};
    SubscribeClient client{endpoint.Ipc(), "TheService", 5000};
};

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

TEST_F(NotificationHandlersTest, StorageNotificationIsLoggedFigureByFigureInMegabytes) {
    platform.incoming = {{messageStorage, SpaceMessage({1024 * 1024, 1024, 1023, 2047, 0})},
                         {messageStorage, SpaceMessage({4294967295U, 0x80000000, 1, 1025, 0x3ff})}};
    auto const entry = [](std::string const& text) { return LogEntry(1, text); };
    EXPECT_EQ(CallsOfMessages(), SpaceEntries({"1024", "1", "0", "1", "0"}, entry) + receiveCall +
                                     SpaceEntries({"4194303", "2097152", "0", "1", "0"}, entry));
}

TEST_F(NotificationHandlersTest, StorageNotificationIsSilentWhileTheLevelIsOff) {
    LogClient::Instance()->Level(2);
    platform.incoming = {{messageStorage, SpaceMessage({1, 2, 3, 4, 5})}};
    EXPECT_EQ(CallsOfMessages(),
              SpaceEntries({"", "", "", "", ""}, [](auto const&) { return ""; }));
}

TEST_F(NotificationHandlersTest, ShortStorageNotificationHasZerosForTheRest) {
    platform.incoming = {{messageStorage, SpaceMessage({2048, 3072}) + "ab"}, {messageStorage, ""}};
    auto const entry = [](std::string const& text) { return LogEntry(1, text); };
    EXPECT_EQ(CallsOfMessages(), SpaceEntries({"2", "3", "0", "0", "0"}, entry) + receiveCall +
                                     SpaceEntries({"0", "0", "0", "0", "0"}, entry));
}

TEST_F(NotificationHandlersTest, RecordStartIsLoggedWithItsEvent) {
    StringItem reid("0123:45");
    platform.incoming = {{messageRecordStart, Encoded(reid)}};
    EXPECT_EQ(CallsOfMessages(),
              "log.Level()\n" + LogEntry(1, "RecordStartHandler: Record start, reid 0123:45"));
}

TEST_F(NotificationHandlersTest, RecordStopIsLoggedWithItsEvent) {
    StreamMgrApi::EventRecordItem event;
    event.reid.Value("0123:45");
    event.stopTime.Value(-1);
    platform.incoming = {{messageRecordStop, Encoded(event)}};
    EXPECT_EQ(CallsOfMessages(),
              "log.Level()\n" + LogEntry(1, "RecordStopHandler: Record stop, reid 0123:45"));
}

TEST_F(NotificationHandlersTest, RecordNotificationsAreSilentWhileTheLevelIsOff) {
    LogClient::Instance()->Level(2);
    StringItem reid("0123:45");
    StreamMgrApi::EventRecordItem event;
    platform.incoming = {{messageRecordStart, Encoded(reid)}, {messageRecordStop, Encoded(event)}};
    EXPECT_EQ(CallsOfMessages(), "log.Level()\n" + std::string(receiveCall) + "log.Level()\n");
}

TEST_F(NotificationHandlersTest, MalformedRecordNotificationsHaveNoEvent) {
    platform.incoming = {{messageRecordStart, std::string("\0\0\0\x7f"
                                                          "abc",
                                                          7)},
                         {messageRecordStop, ""}};
    EXPECT_EQ(CallsOfMessages(), "log.Level()\n" +
                                     LogEntry(1, "RecordStartHandler: Record start, reid ") +
                                     receiveCall + "log.Level()\n" +
                                     LogEntry(1, "RecordStopHandler: Record stop, reid "));
}

TEST_F(NotificationHandlersTest, OtherMessagesAreNotHandled) {
    platform.incoming = {{4711, "text"}};
    EXPECT_EQ(CallsOfMessages(), "");
}

// ---------------------------------------------------------------------- the storage item

TEST_F(NotificationHandlersTest, StorageItemIsFiveWordsBackToBack) {
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
