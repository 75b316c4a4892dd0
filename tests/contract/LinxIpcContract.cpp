// What the tool relies on in an endpoint of the IPC.
#include "LinxIpc.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "IpcMessage.h"
#include "LinxServerNameList.h"
#include "contract/Scene.h"

using testing::ElementsAre;

namespace {

constexpr unsigned int questionId = 0x4000;
constexpr unsigned int replyId = 0x4001;
constexpr unsigned int noticeId = 0x4002;
constexpr int patienceMs = 60000;

std::string Text(IpcMessage& message) {
    return {message.Data(), message.Size()};
}

// Notes the messages for which it is called.
struct Calls {
    std::vector<std::string> texts;

    static void Note(LinxIpc* ipc, void* user) {
        static_cast<Calls*>(user)->texts.push_back(Text(ipc->CurrentMessage()));
    }
};

class LinxIpcContract : public testing::Test {
protected:
    LinxIpcContract() {
        EXPECT_EQ(client_.Init(), 0);
        EXPECT_EQ(other_.Init(), 0);
    }

    // Sends a message from an endpoint and waits for no reply.
    static int Send(LinxIpc& from, std::string const& to, unsigned int id,
                    std::string const& text) {
        IpcMessage message;
        EXPECT_EQ(message.Allocate(id, static_cast<unsigned int>(text.size()), nullptr), 0);
        EXPECT_EQ(message.Fill(text.data(), static_cast<unsigned int>(text.size())), 0);
        return from.Request(to, message, 0, -1, nullptr);
    }

    // Sends a question to the service and waits for the reply.
    int Ask(unsigned int expectedId, int timeoutMs) {
        IpcMessage question;
        EXPECT_EQ(question.Allocate(questionId, 5, nullptr), 0);
        EXPECT_EQ(question.Fill("what?", 5), 0);
        return client_.Request(service_, question, expectedId, timeoutMs, &reply_);
    }

    int Receive(unsigned int id = 0, std::string const& from = LinxIpc::emptyString,
                IpcMessage* message = nullptr) {
        return client_.Receive(0, id, from, message);
    }

    Scene scene_;
    std::string const service_ = LinxServerNameList::Instance()->Name(e_StreamMgr);
    LinxIpc client_{"Client"};
    LinxIpc other_{"Other"};
    IpcMessage reply_;
    Calls calls_;
};

TEST_F(LinxIpcContract, EmptyStringIsEmpty) {
    EXPECT_EQ(LinxIpc::emptyString, "");
}

TEST_F(LinxIpcContract, EndpointIsOfNoUseBeforeInit) {
    LinxIpc unready("Unready");
    EXPECT_NE(Send(unready, "Other", noticeId, "from"), 0);
    EXPECT_NE(Send(other_, "Unready", noticeId, "to"), 0);
    EXPECT_NE(unready.Receive(-1, 0, LinxIpc::emptyString, nullptr), 0);
    EXPECT_EQ(unready.Init(), 0);
    EXPECT_EQ(Send(other_, "Unready", noticeId, "to"), 0);
    EXPECT_EQ(unready.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
}

TEST_F(LinxIpcContract, InitMayBeRepeated) {
    EXPECT_EQ(client_.Init(), 0);
    EXPECT_EQ(Send(client_, "Other", noticeId, "news"), 0);
}

TEST_F(LinxIpcContract, NameBelongsToOneEndpointUntilItsEnd) {
    std::optional<LinxIpc> first(std::in_place, "Name");
    EXPECT_EQ(first->Init(), 0);
    LinxIpc second("Name");
    EXPECT_NE(second.Init(), 0);
    EXPECT_NE(Send(second, "Other", noticeId, "news"), 0);
    first.reset();
    EXPECT_EQ(second.Init(), 0);
    EXPECT_EQ(Send(second, "Other", noticeId, "news"), 0);
}

TEST_F(LinxIpcContract, RequestWithoutReplyIsDelivered) {
    EXPECT_EQ(Send(other_, "Client", noticeId, "news"), 0);
    IpcMessage message;
    ASSERT_EQ(Receive(0, LinxIpc::emptyString, &message), 0);
    EXPECT_EQ(message.Id(), noticeId);
    EXPECT_EQ(Text(message), "news");
}

TEST_F(LinxIpcContract, ReplyIsStored) {
    scene_.Serve({{{replyId, "that"}}, {{replyId, "this"}}});
    ASSERT_EQ(Ask(replyId, patienceMs), 0);
    EXPECT_EQ(reply_.Id(), replyId);
    EXPECT_EQ(Text(reply_), "that");
    ASSERT_EQ(Ask(replyId, -1), 0);
    EXPECT_EQ(Text(reply_), "this");
}

TEST_F(LinxIpcContract, ReplyWithAnotherIdIsNotTaken) {
    scene_.Serve({{{noticeId, "wrong"}, {replyId, "right"}}});
    ASSERT_EQ(Ask(replyId, patienceMs), 0);
    EXPECT_EQ(Text(reply_), "right");
}

TEST_F(LinxIpcContract, WithoutAnIdAnyReplyIsTaken) {
    scene_.Serve({{{noticeId, "any"}}});
    ASSERT_EQ(Ask(0, patienceMs), 0);
    EXPECT_EQ(reply_.Id(), noticeId);
    EXPECT_EQ(Text(reply_), "any");
}

TEST_F(LinxIpcContract, ReplyThatDoesNotComeInTimeIsAFailure) {
    scene_.Serve({});
    EXPECT_NE(Ask(replyId, 0), 0);
    EXPECT_NE(Ask(replyId, 20), 0);
}

TEST_F(LinxIpcContract, NameThatNoProcessServesIsAFailureAtOnce) {
    EXPECT_NE(Send(client_, service_, noticeId, "news"), 0);
    EXPECT_NE(Send(client_, "Nameless", noticeId, "news"), 0);
    EXPECT_NE(Ask(replyId, -1), 0);
}

TEST_F(LinxIpcContract, ReceiveWithoutAMessageInTimeIsAFailure) {
    EXPECT_NE(Receive(), 0);
    EXPECT_NE(client_.Receive(20, 0, LinxIpc::emptyString, nullptr), 0);
}

TEST_F(LinxIpcContract, MessagesAreReceivedInTheirOrder) {
    client_.SetHandler(noticeId, Calls::Note, &calls_);
    for (char const* const text : {"first", "second", "third"}) {
        EXPECT_EQ(Send(other_, "Client", noticeId, text), 0);
    }
    EXPECT_EQ(Receive(), 0);
    EXPECT_EQ(Receive(), 0);
    EXPECT_THAT(calls_.texts, ElementsAre("first", "second"));
    EXPECT_EQ(Receive(), 0);
    EXPECT_NE(Receive(), 0);
    EXPECT_THAT(calls_.texts, ElementsAre("first", "second", "third"));
}

TEST_F(LinxIpcContract, MessageWithoutAHandlerIsReceived) {
    client_.SetHandler(replyId, Calls::Note, &calls_);
    EXPECT_EQ(Send(other_, "Client", noticeId, "news"), 0);
    EXPECT_EQ(Receive(), 0);
    EXPECT_EQ(Text(client_.CurrentMessage()), "news");
    EXPECT_THAT(calls_.texts, ElementsAre());
}

TEST_F(LinxIpcContract, ReceiveOfAnIdHandlesTheOthersOnTheWay) {
    client_.SetHandler(questionId, Calls::Note, &calls_);
    client_.SetHandler(noticeId, Calls::Note, &calls_);
    EXPECT_EQ(Send(other_, "Client", questionId, "unwanted"), 0);
    EXPECT_EQ(Send(other_, "Client", noticeId, "wanted"), 0);
    EXPECT_EQ(Send(other_, "Client", noticeId, "next"), 0);
    IpcMessage message;
    ASSERT_EQ(Receive(noticeId, LinxIpc::emptyString, &message), 0);
    EXPECT_EQ(Text(message), "wanted");
    EXPECT_THAT(calls_.texts, ElementsAre("unwanted", "wanted"));
    EXPECT_NE(Receive(questionId), 0);
    EXPECT_THAT(calls_.texts, ElementsAre("unwanted", "wanted", "next"));
}

TEST_F(LinxIpcContract, ReceiveFromASenderHandlesTheOthersOnTheWay) {
    client_.SetHandler(noticeId, Calls::Note, &calls_);
    EXPECT_EQ(Send(client_, "Client", noticeId, "unwanted"), 0);
    EXPECT_EQ(Send(other_, "Client", noticeId, "wanted"), 0);
    EXPECT_EQ(Send(client_, "Client", noticeId, "next"), 0);
    IpcMessage message;
    ASSERT_EQ(Receive(0, "Other", &message), 0);
    EXPECT_EQ(Text(message), "wanted");
    EXPECT_THAT(calls_.texts, ElementsAre("unwanted", "wanted"));
    EXPECT_NE(Receive(0, "Other", &message), 0);
    EXPECT_EQ(Text(message), "wanted");
    EXPECT_THAT(calls_.texts, ElementsAre("unwanted", "wanted", "next"));
}

TEST_F(LinxIpcContract, CurrentMessageIsTheOneReceivedLast) {
    EXPECT_EQ(client_.CurrentMessage().Id(), 0U);
    EXPECT_EQ(client_.CurrentMessage().Size(), 0U);
    EXPECT_EQ(Send(other_, "Client", noticeId, "first"), 0);
    EXPECT_EQ(Send(other_, "Client", questionId, "the second"), 0);
    ASSERT_EQ(Receive(), 0);
    EXPECT_EQ(client_.CurrentMessage().Id(), noticeId);
    EXPECT_EQ(Text(client_.CurrentMessage()), "first");
    ASSERT_EQ(Receive(), 0);
    EXPECT_EQ(client_.CurrentMessage().Id(), questionId);
    EXPECT_EQ(Text(client_.CurrentMessage()), "the second");
}

TEST_F(LinxIpcContract, CopyOfAMessageOutlivesTheNext) {
    EXPECT_EQ(Send(other_, "Client", noticeId, "first"), 0);
    EXPECT_EQ(Send(other_, "Client", noticeId, "second"), 0);
    IpcMessage copy;
    ASSERT_EQ(Receive(0, LinxIpc::emptyString, &copy), 0);
    ASSERT_EQ(Receive(), 0);
    EXPECT_EQ(Text(copy), "first");
}

TEST_F(LinxIpcContract, LastRegisteredHandlerIsCalled) {
    Calls former;
    client_.SetHandler(noticeId, Calls::Note, &former);
    client_.SetHandler(noticeId, Calls::Note, &calls_);
    EXPECT_EQ(Send(other_, "Client", noticeId, "news"), 0);
    EXPECT_EQ(Receive(), 0);
    EXPECT_THAT(former.texts, ElementsAre());
    EXPECT_THAT(calls_.texts, ElementsAre("news"));
}

TEST_F(LinxIpcContract, RemovedHandlerIsNotCalled) {
    client_.SetHandler(noticeId, Calls::Note, &calls_);
    client_.SetHandler(noticeId, nullptr, nullptr);
    client_.SetHandler(questionId, nullptr, nullptr); // no handler is registered
    EXPECT_EQ(Send(other_, "Client", noticeId, "news"), 0);
    EXPECT_EQ(Send(other_, "Client", questionId, "news"), 0);
    EXPECT_EQ(Receive(), 0);
    EXPECT_EQ(Receive(), 0);
    EXPECT_THAT(calls_.texts, ElementsAre());
}

TEST_F(LinxIpcContract, HandlerMayRemoveItself) {
    client_.SetHandler(
        noticeId,
        [](LinxIpc* ipc, void* user) {
            ipc->SetHandler(noticeId, nullptr, nullptr);
            Calls::Note(ipc, user);
        },
        &calls_);
    EXPECT_EQ(Send(other_, "Client", noticeId, "first"), 0);
    EXPECT_EQ(Send(other_, "Client", noticeId, "second"), 0);
    EXPECT_EQ(Receive(), 0);
    EXPECT_EQ(Receive(), 0);
    EXPECT_THAT(calls_.texts, ElementsAre("first"));
}

} // namespace
