// Cases for the handlers of subscriptions.
#include "SubscribeClient.h"

#include <gtest/gtest.h>

#include <optional>

#include "IpcMessage.h"
#include "LinxIpc.h"
#include "api/Replies.h"
#include "api/ServiceMessages.h"
#include "support/TemporaryRoot.h"

using namespace workstation;
using namespace workstation::api;

namespace {

void Count(LinxIpc*, void* user) {
    ++*static_cast<int*>(user);
}

class SubscribeClientTest : public testing::Test {
protected:
    SubscribeClientTest() { EXPECT_EQ(endpoint_.Init(), 0); }

    int Subscribe(SubscribeClient& client, unsigned int messageId, int& calls) {
        StringItem everything;
        return client.Subscribe(1, messageId, everything, Count, &calls);
    }

    // Sends and receives one notification of each kind.
    void ReceiveBoth() {
        for (unsigned int const id : {recordStartNotification, recordStopNotification}) {
            IpcMessage notification;
            notification.Allocate(id, 0, nullptr);
            ASSERT_EQ(endpoint_.Request("Client", notification, 0, -1, nullptr), 0);
            ASSERT_EQ(endpoint_.Receive(patienceMs, id, LinxIpc::emptyString, nullptr), 0);
        }
    }

    std::string const yes_ = Bytes(BoolItem(true));
    std::string const no_ = Bytes(BoolItem(false));
    TemporaryRoot root_;
    LinxIpc endpoint_{"Client"};
    int starts_ = 0;
    int stops_ = 0;
};

TEST_F(SubscribeClientTest, HandlersAreCalledUntilItsEnd) {
    ReplyingService const service(subscribeReply, {yes_, yes_});
    std::optional<SubscribeClient> client(std::in_place, endpoint_, "StreamMgr", patienceMs);
    EXPECT_EQ(Subscribe(*client, recordStartNotification, starts_), 0);
    EXPECT_EQ(Subscribe(*client, recordStopNotification, stops_), 0);
    ReceiveBoth();
    ReceiveBoth();
    EXPECT_EQ(starts_, 2);
    EXPECT_EQ(stops_, 2);

    client.reset();
    ReceiveBoth();
    EXPECT_EQ(starts_, 2);
    EXPECT_EQ(stops_, 2);
}

TEST_F(SubscribeClientTest, HandlerOfARefusedSubscriptionIsNotCalled) {
    ReplyingService const service(subscribeReply, {yes_, no_});
    SubscribeClient client(endpoint_, "StreamMgr", patienceMs);
    EXPECT_EQ(Subscribe(client, recordStartNotification, starts_), 0);
    EXPECT_NE(Subscribe(client, recordStopNotification, stops_), 0);
    ReceiveBoth();
    EXPECT_EQ(starts_, 1);
    EXPECT_EQ(stops_, 0);
}

} // namespace
