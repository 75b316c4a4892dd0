// The requests about the service itself.
#include "service/requests/ControlRequests.h"

#include <gmock/gmock.h>

#include "Item.h"
#include "api/ServiceMessages.h"
#include "ipc/Endpoint.h"
#include "ipc/Payload.h"
#include "log/LogLevels.h"
#include "status/ServiceStatusItem.h"
#include "support/LogFile.h"
#include "support/TemporaryRoot.h"

using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::requests;
using testing::ElementsAre;

namespace {

using Lines = std::vector<std::string>;

class ControlRequestsTest : public testing::Test {
protected:
    ControlRequestsTest() {
        AddControlRequests(router_, {service_, [this] { calls_.emplace_back("quit"); },
                                     [this] { calls_.emplace_back("reap"); },
                                     [] {
                                         return Lines{"all about me", "and more"};
                                     },
                                     [] { return "half full"; }, [this] { return status_; }});
    }

    void Ask(std::uint32_t id, std::vector<char> payload = {}) {
        ipc::Letter request{"Client", id, 77, std::move(payload)};
        router_.Handle(request);
    }

    // The one answer that came: its id, and its only item.
    std::uint32_t Answer(Item& item) {
        auto answer = client_.Receive();
        EXPECT_TRUE(answer);
        EXPECT_FALSE(client_.Receive());
        if (!answer) {
            return 0;
        }
        EXPECT_EQ(answer->correlation, 77U);
        EXPECT_TRUE(ipc::DecodeItems(answer->payload, {&item}));
        return answer->id;
    }

    TemporaryRoot root_;
    LogFile log_{root_.Path() / "log"};
    ipc::Endpoint service_ = ipc::Endpoint::Open("Service");
    ipc::Endpoint client_ = ipc::Endpoint::Open("Client");
    RequestRouter router_;
    std::vector<std::string> calls_;
    status::ServiceStatus status_;
};

TEST_F(ControlRequestsTest, PingIsLogged) {
    Ask(0x3603);
    EXPECT_THAT(log_.Entries(), ElementsAre("ping requested by Client"));
    EXPECT_FALSE(client_.Receive());
}

TEST_F(ControlRequestsTest, QuitAndReapAreCarriedOut) {
    Ask(0x500);
    Ask(0x360E);
    EXPECT_THAT(calls_, ElementsAre("quit", "reap"));
    EXPECT_THAT(log_.Entries(),
                ElementsAre("quit requested by Client", "reap requested by Client"));
}

TEST_F(ControlRequestsTest, InfoAndStorageGoToTheLog) {
    Ask(0x360F);
    Ask(0x363A);
    EXPECT_THAT(log_.Entries(),
                ElementsAre("info requested by Client", "all about me", "and more",
                            "storage dump requested by Client", "storage: half full"));
}

// Whatever the request contains.
TEST_F(ControlRequestsTest, StatusIsAnsweredAndOnlyANoteInTheLog) {
    status_.process = 4711;
    status_.streams = {
        {3, "a.ts", false, status::StreamStatus::State::recording, 1, 2, 3, 4, 5, ""}};
    for (std::size_t const size : {0U, 1U, 70000U}) {
        Ask(api::statusRequest, std::vector<char>(size, '\xFF'));
        status::ServiceStatusItem item;
        EXPECT_EQ(Answer(item), api::statusReply);
        EXPECT_EQ(item.Value(), status_);
    }
    EXPECT_EQ(log_.Entries().size(), 3U);
    LogClient::Instance()->Level(log::errorsAndNotifications);
    Ask(api::statusRequest);
    EXPECT_EQ(log_.Entries().size(), 3U);
}

TEST_F(ControlRequestsTest, LogLevelIsReported) {
    LogClient::Instance()->Level(2);
    Ask(api::getLogLevelRequest);
    UIntItem level;
    EXPECT_EQ(Answer(level), api::getLogLevelReply);
    EXPECT_EQ(level.Value(), 2U);
}

TEST_F(ControlRequestsTest, LogLevelIsSet) {
    UIntItem wanted(1);
    Ask(api::setLogLevelRequest, ipc::EncodeItems({&wanted}));
    BoolItem done;
    EXPECT_EQ(Answer(done), api::setLogLevelReply);
    EXPECT_TRUE(done.Value());
    EXPECT_EQ(LogClient::Instance()->Level(), 1U);
    EXPECT_THAT(log_.Entries(),
                ElementsAre("set log level requested by Client", "log level set to 1"));
}

TEST_F(ControlRequestsTest, LogLevelThatDoesNotExistIsRefused) {
    UIntItem wanted(4);
    Ask(api::setLogLevelRequest, ipc::EncodeItems({&wanted}));
    BoolItem done(true);
    EXPECT_EQ(Answer(done), api::setLogLevelReply);
    EXPECT_FALSE(done.Value());
    EXPECT_EQ(LogClient::Instance()->Level(), 3U);
}

TEST_F(ControlRequestsTest, MalformedLogLevelIsRefused) {
    for (std::size_t const size : {0U, 1U, 3U, 5U}) {
        Ask(api::setLogLevelRequest, std::vector<char>(size));
        BoolItem done(true);
        EXPECT_EQ(Answer(done), api::setLogLevelReply);
        EXPECT_FALSE(done.Value()) << size;
    }
    EXPECT_EQ(LogClient::Instance()->Level(), 3U);
}

TEST_F(ControlRequestsTest, ClientThatIsGoneGetsNoAnswer) {
    { ipc::Endpoint const gone = std::move(client_); }
    Ask(api::getLogLevelRequest);
    EXPECT_THAT(log_.Entries(), ElementsAre("log level requested by Client",
                                            "no answer to Client: No such file or directory"));
}

} // namespace
