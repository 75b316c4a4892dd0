// Subscribers are notified and never waited for.
#include "service/subscribers/Subscribers.h"

#include <gmock/gmock.h>

#include <optional>

#include "ipc/Endpoint.h"
#include "support/LogFile.h"
#include "support/TemporaryRoot.h"

using testing::ElementsAre;
using testing::IsEmpty;
using workstation::ipc::Endpoint;
using workstation::service::subscribers::Subscribers;
using workstation::service::subscribers::Subscription;

namespace {

std::vector<char> Bytes(std::string const& text) {
    return {text.begin(), text.end()};
}

class SubscribersTest : public testing::Test {
protected:
    // What has come to an endpoint: id and payload of each message.
    static std::vector<std::string> Received(Endpoint& endpoint) {
        std::vector<std::string> messages;
        while (auto const letter = endpoint.Receive()) {
            messages.push_back(std::to_string(letter->id) + " " +
                               std::string(letter->payload.begin(), letter->payload.end()));
        }
        return messages;
    }

    std::vector<std::string> TellUntilWaiting(std::size_t count);

    TemporaryRoot root_;
    LogFile log_{root_.Path() / "log"};
    Endpoint service_ = Endpoint::Open("Service");
    Subscribers subscribers_{service_};
};

TEST_F(SubscribersTest, EachIsNotifiedOfWhatItSubscribedToUnderItsOwnId) {
    Endpoint first = Endpoint::Open("First");
    Endpoint second = Endpoint::Open("Second");
    subscribers_.Add("First", Subscription::storage, 100);
    subscribers_.Add("First", Subscription::recordStart, 101);
    subscribers_.Add("Second", Subscription::recordStart, 201);
    subscribers_.Notify(Subscription::recordStart, Bytes("start"));
    subscribers_.Notify(Subscription::storage, Bytes("space"));
    subscribers_.Notify(Subscription::recordStop, Bytes("stop"));
    EXPECT_THAT(Received(first), ElementsAre("101 start", "100 space"));
    EXPECT_THAT(Received(second), ElementsAre("201 start"));
}

TEST_F(SubscribersTest, OneCanBeNotifiedAlone) {
    Endpoint first = Endpoint::Open("First");
    Endpoint second = Endpoint::Open("Second");
    subscribers_.Add("First", Subscription::storage, 100);
    subscribers_.Add("Second", Subscription::storage, 200);
    subscribers_.Notify("Second", Subscription::storage, Bytes("space"));
    subscribers_.Notify("Third", Subscription::storage, Bytes("space"));
    EXPECT_THAT(Received(first), IsEmpty());
    EXPECT_THAT(Received(second), ElementsAre("200 space"));
}

TEST_F(SubscribersTest, SubscribingAgainReplacesTheId) {
    Endpoint client = Endpoint::Open("Client");
    subscribers_.Add("Client", Subscription::recordStart, 100);
    subscribers_.Add("Client", Subscription::recordStart, 200);
    subscribers_.Notify(Subscription::recordStart, Bytes("start"));
    EXPECT_EQ(subscribers_.Count(), 1U);
    EXPECT_THAT(Received(client), ElementsAre("200 start"));
}

TEST_F(SubscribersTest, OneThatIsGoneIsDropped) {
    { Endpoint const client = Endpoint::Open("Client"); }
    subscribers_.Add("Client", Subscription::recordStart, 100);
    subscribers_.Notify(Subscription::recordStart, Bytes("start"));
    EXPECT_EQ(subscribers_.Count(), 0U);
    EXPECT_FALSE(subscribers_.HasWaiting());
    EXPECT_THAT(log_.Entries(), ElementsAre("subscriber Client is gone"));
}

// Notifies of a start and a stop in turn until so many wait. Returns all notifications.
std::vector<std::string> SubscribersTest::TellUntilWaiting(std::size_t count) {
    std::vector<std::string> told;
    std::size_t waiting = 0;
    while (waiting < count) {
        bool const isStart = told.size() % 2 == 0;
        std::string const text = std::to_string(told.size());
        subscribers_.Notify(isStart ? Subscription::recordStart : Subscription::recordStop,
                            Bytes(text));
        told.push_back((isStart ? "100 " : "200 ") + text);
        waiting += subscribers_.HasWaiting() ? 1 : 0;
    }
    return told;
}

TEST_F(SubscribersTest, OneThatReadsLateGetsEverythingInOrder) {
    Endpoint client = Endpoint::Open("Client");
    subscribers_.Add("Client", Subscription::recordStart, 100);
    subscribers_.Add("Client", Subscription::recordStop, 200);
    auto const told = TellUntilWaiting(Subscribers::maxWaiting);
    std::vector<std::string> received;
    do {
        std::ranges::copy(Received(client), std::back_inserter(received));
        subscribers_.DeliverWaiting();
    } while (subscribers_.HasWaiting());
    std::ranges::copy(Received(client), std::back_inserter(received));
    EXPECT_EQ(received, told);
}

TEST_F(SubscribersTest, SubscribingAgainDropsWhatWaitsUnderTheOldId) {
    Endpoint client = Endpoint::Open("Client");
    subscribers_.Add("Client", Subscription::recordStart, 100);
    subscribers_.Add("Client", Subscription::recordStop, 200);
    TellUntilWaiting(4);
    subscribers_.Add("Client", Subscription::recordStart, 300);
    EXPECT_TRUE(subscribers_.HasWaiting()); // the stops
    std::vector<std::string> received = Received(client);
    subscribers_.DeliverWaiting();
    std::ranges::copy(Received(client), std::back_inserter(received));
    EXPECT_FALSE(subscribers_.HasWaiting());
    EXPECT_THAT(received, testing::Each(testing::Not(testing::StartsWith("300 "))));
}

TEST_F(SubscribersTest, OneThatLeavesTooMuchUnreadIsDropped) {
    Endpoint const client = Endpoint::Open("Client");
    subscribers_.Add("Client", Subscription::recordStart, 100);
    subscribers_.Add("Client", Subscription::recordStop, 200);
    TellUntilWaiting(Subscribers::maxWaiting);
    EXPECT_EQ(subscribers_.Count(), 2U);
    subscribers_.Notify(Subscription::recordStop, Bytes("one too many"));
    EXPECT_EQ(subscribers_.Count(), 0U);
    EXPECT_FALSE(subscribers_.HasWaiting());
    EXPECT_THAT(log_.Entries(), ElementsAre("subscriber Client does not read and is dropped"));
}

TEST_F(SubscribersTest, ManyThatDoNotReadKeepNoOtherFromBeingNotified) {
    std::vector<Endpoint> sleepers;
    for (int number = 1; number <= 60; ++number) {
        std::string const name = "Sleeper" + std::to_string(number);
        sleepers.push_back(Endpoint::Open(name));
        subscribers_.Add(name, Subscription::recordStart, 100);
    }
    Endpoint vigilant = Endpoint::Open("Vigilant");
    subscribers_.Add("Vigilant", Subscription::recordStart, 100);
    for (int told = 0; told < 100; ++told) {
        subscribers_.Notify(Subscription::recordStart, Bytes("start"));
        EXPECT_THAT(Received(vigilant), ElementsAre("100 start")) << told;
    }
    EXPECT_EQ(subscribers_.Count(), 1U);
}

TEST_F(SubscribersTest, OnlyTheLatestStorageFiguresWait) {
    Endpoint client = Endpoint::Open("Client");
    subscribers_.Add("Client", Subscription::storage, 100);
    while (!subscribers_.HasWaiting()) {
        subscribers_.Notify(Subscription::storage, Bytes("old"));
    }
    subscribers_.Notify(Subscription::storage, Bytes("newer"));
    subscribers_.Notify(Subscription::storage, Bytes("newest"));
    Received(client);
    subscribers_.DeliverWaiting();
    EXPECT_THAT(Received(client), ElementsAre("100 newest"));
    EXPECT_FALSE(subscribers_.HasWaiting());
}

} // namespace
