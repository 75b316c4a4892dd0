// The requests of clients that subscribe to notifications.
#include "service/requests/SubscriptionRequests.h"

#include <gmock/gmock.h>

#include "Item.h"
#include "api/ServiceMessages.h"
#include "ipc/Endpoint.h"
#include "ipc/Payload.h"
#include "support/LogFile.h"
#include "support/TemporaryRoot.h"

using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::requests;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class SubscriptionRequestsTest : public testing::Test {
protected:
    SubscriptionRequestsTest() {
        AddSubscriptionRequests(router_, {service_, subscribers_, [this](std::string const& name) {
                                              newcomers_.push_back(name);
                                          }});
    }

    // What the one answer says.
    bool Subscribe(std::vector<char> payload) {
        ipc::Letter request{"Client", api::subscribeRequest, 9, std::move(payload)};
        router_.Handle(request);
        auto answer = client_.Receive();
        BoolItem accepted;
        EXPECT_TRUE(answer && answer->id == api::subscribeReply && answer->correlation == 9 &&
                    ipc::DecodeItems(answer->payload, {&accepted}));
        EXPECT_FALSE(client_.Receive());
        return accepted.Value();
    }
    bool Subscribe(unsigned int number) {
        UIntItem subscription(number);
        UIntItem messageId(100);
        StringItem everything;
        return Subscribe(ipc::EncodeItems({&subscription, &messageId, &everything}));
    }

    TemporaryRoot root_;
    LogFile log_{root_.Path() / "log"};
    ipc::Endpoint service_ = ipc::Endpoint::Open("Service");
    ipc::Endpoint client_ = ipc::Endpoint::Open("Client");
    subscribers::Subscribers subscribers_{service_};
    std::vector<std::string> newcomers_;
    RequestRouter router_;
};

TEST_F(SubscriptionRequestsTest, EachOfTheThreeIsAccepted) {
    for (unsigned int const number : {10U, 11U, 12U}) {
        EXPECT_TRUE(Subscribe(number));
        EXPECT_TRUE(subscribers_.Has(static_cast<subscribers::Subscription>(number)));
    }
    EXPECT_EQ(subscribers_.Count(), 3U);
    subscribers_.Notify(subscribers::Subscription::recordStop, {});
    auto const told = client_.Receive();
    ASSERT_TRUE(told);
    EXPECT_EQ(told->id, 100U);
    EXPECT_EQ(told->correlation, 0U);
}

TEST_F(SubscriptionRequestsTest, OnlyTheStorageIsSentAtOnce) {
    EXPECT_TRUE(Subscribe(11));
    EXPECT_TRUE(Subscribe(12));
    EXPECT_THAT(newcomers_, IsEmpty());
    EXPECT_TRUE(Subscribe(10));
    EXPECT_THAT(newcomers_, ElementsAre("Client"));
}

TEST_F(SubscriptionRequestsTest, WhatDoesNotExistOrIsMalformedIsRefused) {
    for (unsigned int const number : {0U, 9U, 13U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(Subscribe(number));
    }
    for (std::size_t const size : {0U, 1U, 4U, 7U}) {
        EXPECT_FALSE(Subscribe(std::vector<char>(size, 0)));
    }
    EXPECT_EQ(subscribers_.Count(), 0U);
    EXPECT_THAT(newcomers_, IsEmpty());
}

} // namespace
