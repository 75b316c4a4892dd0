// Cases for the requests that the client calls send: their bytes, time-outs and replies.
#include <gmock/gmock.h>

#include "LinxIpc.h"
#include "StreamMgrApi.h"
#include "SubscribeClient.h"
#include "api/RecordedIpc.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string const reid = "ab:01";

// `reid` as an encoded StringItem, in hexadecimal digits.
std::string const reidBytes = "0000000561623a3031";

class RequestTest : public testing::Test {
protected:
    RequestTest() {
        RecordedIpc::requests.clear();
        RecordedIpc::result = 0;
        RecordedIpc::payload = "\x01";
    }

    LinxIpc ipc_{"Client"};
};

} // namespace

TEST_F(RequestTest, DeleteEventExpectsNoReply) {
    EXPECT_TRUE(StreamMgrApi::DeleteEvent(reid, ipc_));
    EXPECT_THAT(RecordedIpc::requests,
                ElementsAre("StreamMgr 3690 " + reidBytes + " no reply 0 timeout -1"));
}

TEST_F(RequestTest, LogFileChainExpectsNoReply) {
    EXPECT_TRUE(StreamMgrApi::LogFileChain(2, ipc_, true));
    EXPECT_TRUE(StreamMgrApi::LogFileChain(3, ipc_, false));
    EXPECT_THAT(RecordedIpc::requests,
                ElementsAre("StreamMgr 3691 0000000201 no reply 0 timeout -1",
                            "StreamMgr 3691 0000000300 no reply 0 timeout -1"));
}

TEST_F(RequestTest, RequestsWithoutAReplyFailWhenTheyAreNotSent) {
    RecordedIpc::result = 1;
    EXPECT_FALSE(StreamMgrApi::DeleteEvent(reid, ipc_));
    EXPECT_FALSE(StreamMgrApi::LogFileChain(2, ipc_, true));
}

TEST_F(RequestTest, RecordAfterTheFactSendsTimesAndStreams) {
    RecordedIpc::payload = std::string("\x01\0\0\0\x01x", 6);
    std::string made;
    EXPECT_TRUE(StreamMgrApi::RecordAfterTheFact(ipc_, 0x01020304, -1, made, 1234,
                                                 StreamMgrApi::EventStreamBoth));
    EXPECT_EQ(made, "x");
    EXPECT_THAT(RecordedIpc::requests,
                ElementsAre("StreamMgr 3692 01020304ffffffff00000003 reply 3693 timeout 1234"));
}

TEST_F(RequestTest, SetTagsCompleteSendsTheEvent) {
    EXPECT_TRUE(StreamMgrApi::SetTagsComplete(reid, ipc_, 1234));
    EXPECT_THAT(RecordedIpc::requests,
                ElementsAre("StreamMgr 3694 " + reidBytes + " reply 3699 timeout 1234"));
}

TEST_F(RequestTest, SplitEventWaitsAMinute) {
    RecordedIpc::payload = std::string("\x01\0\0\0\x09", 5);
    std::string event = reid;
    unsigned int size = 94;
    EXPECT_TRUE(StreamMgrApi::SplitEvent(ipc_, event, size));
    EXPECT_EQ(size, 9U);
    EXPECT_THAT(RecordedIpc::requests,
                ElementsAre("StreamMgr 3695 " + reidBytes + "0000005e reply 3696 timeout 60000"));
}

TEST_F(RequestTest, BackupDatabaseSendsThePath) {
    EXPECT_TRUE(StreamMgrApi::BackupDatabase(ipc_, "/b", 1234));
    EXPECT_THAT(RecordedIpc::requests,
                ElementsAre("StreamMgr 3697 000000022f62 reply 3699 timeout 1234"));
}

TEST_F(RequestTest, UpdateFileSizeWaitsFiveSeconds) {
    EXPECT_TRUE(StreamMgrApi::UpdateFileSize(ipc_, 7));
    EXPECT_THAT(RecordedIpc::requests,
                ElementsAre("StreamMgr 3698 00000007 reply 3699 timeout 5000"));
}

TEST_F(RequestTest, SubscriptionSendsItsNumberAndTheIdOfItsNotifications) {
    StringItem everything;
    SubscribeClient client(ipc_, "Server", 1234);
    EXPECT_EQ(client.Subscribe(10, 0x3614, everything, nullptr, nullptr), 0);
    EXPECT_THAT(RecordedIpc::requests,
                ElementsAre("Server 3684 0000000a0000361400000000 reply 3685 timeout 1234"));
}

TEST_F(RequestTest, RequestThatDoesNotFitIntoAMessageIsNotSent) {
    EXPECT_FALSE(StreamMgrApi::DeleteEvent(std::string(65536, 'x'), ipc_));
    EXPECT_FALSE(StreamMgrApi::SetTagsComplete(std::string(65536, 'x'), ipc_, 1234));
    EXPECT_THAT(RecordedIpc::requests, IsEmpty());
}

TEST_F(RequestTest, ReplyOfAFailedRequestIsNotUsed) {
    RecordedIpc::result = 1;
    EXPECT_FALSE(StreamMgrApi::UpdateFileSize(ipc_, 7));
    EXPECT_EQ(RecordedIpc::requests.size(), 1U);
}
