// Subscribers are told without ever being waited for.
#include "service/Subscribers.h"

#include <gmock/gmock.h>

#include <optional>

#include "support/TemporaryRoot.h"
#include "service/LogFile.h"

using testing::ElementsAre;
using testing::IsEmpty;
using workstation::Endpoint;
using workstation::Subscribers;
using workstation::Subscription;

namespace {

std::vector<char> Bytes(std::string const& text) {
    return {text.begin(), text.end()};
}

class SubscribersTest : public testing::Test {
protected:
    Endpoint Open(std::string const& name) {
        std::string error;
        auto endpoint = Endpoint::Open(name, error);
        EXPECT_TRUE(endpoint) << error;
        return std::move(*endpoint);
    }

    // What has come to an endpoint: id and payload of each message.
    static std::vector<std::string> Received(Endpoint& endpoint) {
        std::vector<std::string> messages;
        while (auto const letter = endpoint.Receive())
            messages.push_back(std::to_string(letter->id) + " " +
                               std::string(letter->payload.begin(), letter->payload.end()));
        return messages;
    }

    TemporaryRoot root_;
    LogFile log_{root_.Path() / "log"};
    Endpoint service_ = Open("Service");
    Subscribers subscribers_{service_};
};

TEST_F(SubscribersTest, EachIsToldOfWhatItSubscribedToUnderItsOwnId) {
    Endpoint first = Open("First");
    Endpoint second = Open("Second");
    subscribers_.Add("First", Subscription::storage, 100);
    subscribers_.Add("First", Subscription::recordStart, 101);
    subscribers_.Add("Second", Subscription::recordStart, 201);
    subscribers_.Notify(Subscription::recordStart, Bytes("start"));
    subscribers_.Notify(Subscription::storage, Bytes("space"));
    subscribers_.Notify(Subscription::recordStop, Bytes("stop"));
    EXPECT_THAT(Received(first), ElementsAre("101 start", "100 space"));
    EXPECT_THAT(Received(second), ElementsAre("201 start"));
}

TEST_F(SubscribersTest, OneCanBeToldAlone) {
    Endpoint first = Open("First");
    Endpoint second = Open("Second");
    subscribers_.Add("First", Subscription::storage, 100);
    subscribers_.Add("Second", Subscription::storage, 200);
    subscribers_.Notify("Second", Subscription::storage, Bytes("space"));
    subscribers_.Notify("Third", Subscription::storage, Bytes("space"));
    EXPECT_THAT(Received(first), IsEmpty());
    EXPECT_THAT(Received(second), ElementsAre("200 space"));
}

TEST_F(SubscribersTest, SubscribingAgainReplacesTheId) {
    Endpoint client = Open("Client");
    subscribers_.Add("Client", Subscription::recordStart, 100);
    subscribers_.Add("Client", Subscription::recordStart, 200);
    subscribers_.Notify(Subscription::recordStart, Bytes("start"));
    EXPECT_EQ(subscribers_.Count(), 1U);
    EXPECT_THAT(Received(client), ElementsAre("200 start"));
}

TEST_F(SubscribersTest, OneThatIsGoneIsDropped) {
    { Endpoint const client = Open("Client"); }
    subscribers_.Add("Client", Subscription::recordStart, 100);
    subscribers_.Notify(Subscription::recordStart, Bytes("start"));
    EXPECT_EQ(subscribers_.Count(), 0U);
    EXPECT_FALSE(subscribers_.HasWaiting());
    EXPECT_THAT(log_.Entries(), ElementsAre("subscriber Client is gone"));
}

TEST_F(SubscribersTest, OneThatDoesNotReadGetsTheLatestLater) {
    Endpoint client = Open("Client");
    subscribers_.Add("Client", Subscription::recordStart, 100);
    int told = 0;
    while (!subscribers_.HasWaiting())
        subscribers_.Notify(Subscription::recordStart, Bytes(std::to_string(++told)));
    int const queued = told - 1; // all but the one that waits
    for (std::size_t more = 0; more < Subscribers::maxWaiting; ++more)
        subscribers_.Notify(Subscription::recordStart, Bytes(std::to_string(++told)));

    // The one that waited first was lost: there is room for maxWaiting.
    std::vector<std::string> expected;
    for (int number = 1; number <= told; ++number) {
        if (number != queued + 1)
            expected.push_back("100 " + std::to_string(number));
    }
    std::vector<std::string> received;
    do {
        std::ranges::copy(Received(client), std::back_inserter(received));
        subscribers_.DeliverWaiting();
    } while (subscribers_.HasWaiting());
    std::ranges::copy(Received(client), std::back_inserter(received));
    EXPECT_EQ(received, expected);
}

TEST_F(SubscribersTest, OnlyTheLatestStorageFiguresWait) {
    Endpoint client = Open("Client");
    subscribers_.Add("Client", Subscription::storage, 100);
    while (!subscribers_.HasWaiting())
        subscribers_.Notify(Subscription::storage, Bytes("old"));
    subscribers_.Notify(Subscription::storage, Bytes("newer"));
    subscribers_.Notify(Subscription::storage, Bytes("newest"));
    Received(client);
    subscribers_.DeliverWaiting();
    EXPECT_THAT(Received(client), ElementsAre("100 newest"));
    EXPECT_FALSE(subscribers_.HasWaiting());
}

} // namespace
