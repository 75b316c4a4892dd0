// What the tool relies on in subscriptions.
#include "SubscribeClient.h"

#include <gmock/gmock.h>

#include <optional>
#include <vector>

#include "IpcMessage.h"
#include "Item.h"
#include "LinxIpc.h"
#include "LinxServerNameList.h"
#include "contract/Scene.h"

using testing::ElementsAre;

namespace {

constexpr unsigned int startId = 0x3615;
constexpr unsigned int stopId = 0x3616;
constexpr int patienceMs = 60000;

// Notes the ids of the messages for which it is called.
void Note(LinxIpc* ipc, void* user) {
    static_cast<std::vector<unsigned int>*>(user)->push_back(ipc->CurrentMessage().Id());
}

class SubscribeClientContract : public testing::Test {
protected:
    SubscribeClientContract() {
        EXPECT_EQ(endpoint_.Init(), 0);
        EXPECT_EQ(notifier_.Init(), 0);
    }

    void MakeClient(int timeoutMs = patienceMs) {
        client_.emplace(endpoint_, LinxServerNameList::Instance()->Name(e_StreamMgr), timeoutMs);
    }

    int Subscribe(unsigned int messageId, std::vector<unsigned int>& called) {
        StringItem everything;
        return client_->Subscribe(10, messageId, everything, Note, &called);
    }

    // Has one notification of each kind received.
    void ReceiveBoth() {
        for (unsigned int const id : {startId, stopId}) {
            IpcMessage notification;
            ASSERT_EQ(notification.Allocate(id, 1, nullptr), 0);
            ASSERT_EQ(notifier_.Request("Client", notification, 0, -1, nullptr), 0);
            ASSERT_EQ(endpoint_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
        }
    }

    Scene scene_;
    LinxIpc endpoint_{"Client"};
    LinxIpc notifier_{"Notifier"};
    std::optional<SubscribeClient> client_;
    std::vector<unsigned int> starts_;
    std::vector<unsigned int> stops_;
};

TEST_F(SubscribeClientContract, EachHandlerIsCalledForItsMessagesWithItsUser) {
    scene_.ServeSubscriptions({Scene::Subscription::accepted, Scene::Subscription::accepted});
    MakeClient();
    ASSERT_EQ(Subscribe(startId, starts_), 0);
    ASSERT_EQ(Subscribe(stopId, stops_), 0);
    ReceiveBoth();
    EXPECT_THAT(starts_, ElementsAre(startId));
    EXPECT_THAT(stops_, ElementsAre(stopId));
}

TEST_F(SubscribeClientContract, UserMayBeNull) {
    static void* user = nullptr;
    user = &user;
    scene_.ServeSubscriptions({Scene::Subscription::accepted});
    MakeClient();
    StringItem everything;
    ASSERT_EQ(client_->Subscribe(
                  10, startId, everything, [](LinxIpc*, void* given) { user = given; }, nullptr),
              0);
    ReceiveBoth();
    EXPECT_EQ(user, nullptr);
}

TEST_F(SubscribeClientContract, RefusedSubscriptionIsAFailureAndLeavesTheOthers) {
    scene_.ServeSubscriptions({Scene::Subscription::accepted, Scene::Subscription::refused});
    MakeClient();
    EXPECT_EQ(Subscribe(startId, starts_), 0);
    EXPECT_NE(Subscribe(stopId, stops_), 0);
    ReceiveBoth();
    EXPECT_THAT(starts_, ElementsAre(startId));
    EXPECT_THAT(stops_, ElementsAre());
}

TEST_F(SubscribeClientContract, SubscriptionWithoutAnAnswerInTimeIsAFailure) {
    scene_.ServeSubscriptions({Scene::Subscription::unanswered});
    MakeClient(20);
    EXPECT_NE(Subscribe(startId, starts_), 0);
    ReceiveBoth();
    EXPECT_THAT(starts_, ElementsAre());
}

TEST_F(SubscribeClientContract, SubscriptionToAServiceThatDoesNotRunIsAFailure) {
    MakeClient();
    EXPECT_NE(Subscribe(startId, starts_), 0);
    ReceiveBoth();
    EXPECT_THAT(starts_, ElementsAre());
}

TEST_F(SubscribeClientContract, HandlersGoWithTheClient) {
    scene_.ServeSubscriptions({Scene::Subscription::accepted, Scene::Subscription::accepted});
    MakeClient();
    ASSERT_EQ(Subscribe(startId, starts_), 0);
    ASSERT_EQ(Subscribe(stopId, stops_), 0);
    client_.reset();
    ReceiveBoth();
    EXPECT_THAT(starts_, ElementsAre());
    EXPECT_THAT(stops_, ElementsAre());
}

} // namespace
