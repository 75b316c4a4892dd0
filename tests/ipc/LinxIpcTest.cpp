// Cases for the endpoint of the seam.
#include "LinxIpc.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "IpcMessage.h"
#include "Item.h"
#include "ipc/Endpoint.h"
#include "ipc/Payload.h"
#include "ipc/RawSocket.h"
#include "ipc/ServerThread.h"
#include "support/ChildProcess.h"
#include "support/LogFile.h"
#include "support/OtherUser.h"
#include "support/Stopwatch.h"
#include "support/TemporaryRoot.h"

using testing::ElementsAre;
using workstation::ipc::Endpoint;
using workstation::ipc::Letter;

namespace {

constexpr unsigned int questionId = 0x4000;
constexpr unsigned int answerId = 0x4001;
constexpr unsigned int noticeId = 0x4002;

std::string Text(IpcMessage& message) {
    return {message.Data(), message.Size()};
}

// A handler that records the messages that it is called for.
struct Calls {
    std::vector<std::string> texts;

    static void Note(LinxIpc* ipc, void* user) {
        static_cast<Calls*>(user)->texts.push_back(Text(ipc->CurrentMessage()));
    }
};

// A process that serves "Server", receives one request, and exits with the result of `handle`.
class ServerProcess : public ChildProcess {
public:
    explicit ServerProcess(std::function<int(Endpoint const&, Letter const&)> const& handle)
        : ChildProcess([&](Parent const& parent) {
            Endpoint endpoint = Endpoint::Open("Server");
            parent.Tell();
            return handle(endpoint, ServerThread::Next(endpoint));
        }) {
        EXPECT_TRUE(Await());
    }
};

void Answer(Endpoint const& server, Letter const& question, std::string const& text,
            unsigned int id = answerId) {
    server.Send(question.sender, id, text, question.correlation, patienceMs);
}

} // namespace

class LinxIpcTest : public testing::Test {
protected:
    LinxIpcTest() {
        EXPECT_EQ(client_.Init(), 0);
        question_.Allocate(questionId, 5, nullptr);
        question_.Fill("what?", 5);
    }

    TemporaryRoot const root_;
    LinxIpc client_{"Client"};
    IpcMessage question_;
    IpcMessage reply_;
};

TEST_F(LinxIpcTest, EmptyStringIsEmpty) {
    EXPECT_EQ(LinxIpc::emptyString, "");
}

TEST_F(LinxIpcTest, RequestWithoutReplyOnlySends) {
    Endpoint server = Endpoint::Open("Server");
    EXPECT_EQ(client_.Request("Server", question_, 0, -1, nullptr), 0);
    auto const letter = server.Receive();
    ASSERT_TRUE(letter);
    EXPECT_EQ(letter->sender, "Client");
    EXPECT_EQ(letter->id, questionId);
    EXPECT_EQ(letter->correlation, 0U);
    EXPECT_EQ(std::string(letter->payload.begin(), letter->payload.end()), "what?");
}

TEST_F(LinxIpcTest, AnswerIsStored) {
    ServerThread const server("Server", [](Endpoint& endpoint) {
        Letter const question = ServerThread::Next(endpoint);
        EXPECT_NE(question.correlation, 0U);
        Answer(endpoint, question, "that");
    });
    EXPECT_EQ(client_.Request("Server", question_, answerId, patienceMs, &reply_), 0);
    EXPECT_EQ(reply_.Id(), answerId);
    EXPECT_EQ(Text(reply_), "that");
}

TEST_F(LinxIpcTest, WithoutAReplyIdAnyAnswerIsTaken) {
    ServerThread const server("Server", [](Endpoint& endpoint) {
        Answer(endpoint, ServerThread::Next(endpoint), "that", 12345);
    });
    EXPECT_EQ(client_.Request("Server", question_, 0, -1, &reply_), 0);
    EXPECT_EQ(reply_.Id(), 12345U);
}

TEST_F(LinxIpcTest, LargestMessageGoesBothWays) {
    ServerThread const server("Server", [](Endpoint& endpoint) {
        Letter const question = ServerThread::Next(endpoint);
        Answer(endpoint, question, {question.payload.begin(), question.payload.end()});
    });
    std::string const largest(IpcMessage::maxSize, 'x');
    ASSERT_EQ(question_.Allocate(questionId, IpcMessage::maxSize, nullptr), 0);
    ASSERT_EQ(question_.Fill(largest.data(), IpcMessage::maxSize), 0);
    EXPECT_EQ(client_.Request("Server", question_, answerId, patienceMs, &reply_), 0);
    EXPECT_EQ(Text(reply_), largest);
}

TEST_F(LinxIpcTest, WhatIsNotTheAnswerIsNotTakenForIt) {
    Endpoint const stranger = Endpoint::Open("Stranger");
    ServerThread const server("Server", [&](Endpoint& endpoint) {
        Letter const question = ServerThread::Next(endpoint);
        Answer(endpoint, question, "wrong id", noticeId);
        Answer(stranger, question, "wrong sender");
        endpoint.Send("Client", answerId, std::string("wrong number"), question.correlation + 1,
                      patienceMs);
        endpoint.Send("Client", answerId, std::string("no number"), 0, patienceMs);
        Answer(endpoint, question, "right");
    });
    EXPECT_EQ(client_.Request("Server", question_, answerId, patienceMs, &reply_), 0);
    EXPECT_EQ(Text(reply_), "right");
}

TEST_F(LinxIpcTest, LateAnswerIsDropped) {
    Endpoint server = Endpoint::Open("Server");
    EXPECT_EQ(client_.Request("Server", question_, answerId, 0, &reply_), ETIMEDOUT);
    auto const first = server.Receive();
    ASSERT_TRUE(first);
    Answer(server, *first, "late");
    Answer(server, *first, "late", noticeId);

    std::thread serving([&] { Answer(server, ServerThread::Next(server), "in time"); });
    EXPECT_EQ(client_.Request("Server", question_, answerId, patienceMs, &reply_), 0);
    serving.join();
    EXPECT_EQ(Text(reply_), "in time");

    Answer(server, *first, "even later");
    EXPECT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), ETIMEDOUT);
}

TEST_F(LinxIpcTest, AnswersOfOneRequestHaveANumberOfTheirOwn) {
    Endpoint server = Endpoint::Open("Server");
    client_.Request("Server", question_, answerId, 0, &reply_);
    client_.Request("Server", question_, answerId, 0, &reply_);
    auto const first = server.Receive();
    auto const second = server.Receive();
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->correlation, second->correlation);
}

TEST_F(LinxIpcTest, RequestsOfSuccessorsWithTheSameNameHaveOtherNumbers) {
    Endpoint server = Endpoint::Open("Server");
    for (int process = 0; process < 2; ++process) {
        LinxIpc brief("Brief");
        ASSERT_EQ(brief.Init(), 0);
        brief.Request("Server", question_, answerId, 0, &reply_);
    }
    auto const first = server.Receive();
    auto const second = server.Receive();
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->correlation, second->correlation);
}

TEST_F(LinxIpcTest, NoAnswerInTimeIsAFailure) {
    Endpoint const server = Endpoint::Open("Server");
    Stopwatch const stopwatch;
    EXPECT_EQ(client_.Request("Server", question_, answerId, 250, &reply_), ETIMEDOUT);
    EXPECT_GE(stopwatch.ElapsedMs(), 250);
    EXPECT_LT(stopwatch.ElapsedMs(), 10000);
}

TEST_F(LinxIpcTest, NameThatNoProcessServesFailsAtOnce) {
    { RawSocket const gone(root_.Ipc() / "Gone"); }
    struct {
        char const* server;
        int error;
    } const cases[] = {
        {"Nobody", ENOENT}, {"Gone", ECONNREFUSED}, {"", EINVAL}, {"..", EINVAL}, {"a/b", EINVAL},
    };
    for (auto const& [server, error] : cases) {
        EXPECT_EQ(client_.Request(server, question_, 0, -1, nullptr), error) << server;
        EXPECT_EQ(client_.Request(server, question_, 0, -1, &reply_), ECONNREFUSED) << server;
    }
}

TEST_F(LinxIpcTest, ServerOfAnotherUserFailsAtOnceWithItsOwnerInTheLog) {
    SKIP_UNLESS_ROOT();
    LogFile const log(root_.Path() / "log");
    ASSERT_EQ(chmod(root_.Path().c_str(), 0777), 0);
    ASSERT_EQ(chmod(root_.Ipc().c_str(), 0777), 0);
    ChildProcess server([](auto const& parent) {
        if (!BecomeUser(otherUser)) {
            return 1;
        }
        Endpoint endpoint = Endpoint::Open("Server");
        parent.Tell();
        parent.Await();
        return endpoint.Receive() ? 2 : 0;
    });
    ASSERT_TRUE(server.Await());
    std::string const owner =
        "Server is served by user 'nobody' (uid 65534), not by user 'root' (uid 0): not used";
    EXPECT_EQ(client_.Request("Server", question_, 0, -1, nullptr), EACCES);
    EXPECT_THAT(log.Entries(), ElementsAre(owner));
    EXPECT_EQ(client_.Request("Server", question_, answerId, -1, &reply_), EACCES);
    EXPECT_THAT(log.Entries(), ElementsAre(owner, owner));
    server.Tell();
    EXPECT_EQ(server.Wait(), 0);
}

TEST_F(LinxIpcTest, ServerThatNeverReadsEndsTheRequestInBoundedTime) {
    Endpoint const server = Endpoint::Open("Server");
    Endpoint const other = Endpoint::Open("Other");
    while (other.Send("Server", 1, {}, 0, 0)) {
    }
    Stopwatch const sending;
    EXPECT_EQ(client_.Request("Server", question_, 0, -1, nullptr), EAGAIN);
    EXPECT_GE(sending.ElapsedMs(), 1900);
    EXPECT_LT(sending.ElapsedMs(), 8000);
    Stopwatch const asking;
    EXPECT_EQ(client_.Request("Server", question_, answerId, -1, &reply_), EAGAIN);
    EXPECT_GE(asking.ElapsedMs(), 1900);
    EXPECT_LT(asking.ElapsedMs(), 8000);
}

TEST_F(LinxIpcTest, AnswerOfAServerThatWasStoppedIsDropped) {
    ServerProcess server([](Endpoint const& endpoint, Letter const& request) {
        Answer(endpoint, request, "awake again");
        return 0;
    });
    server.Stop();
    EXPECT_EQ(client_.Request("Server", question_, answerId, 150, &reply_), ETIMEDOUT);
    server.Continue();
    ASSERT_EQ(server.Wait(), 0);
    EXPECT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), ETIMEDOUT)
        << "late answer not dropped";
}

TEST_F(LinxIpcTest, ServerThatIsKilledEndsTheWait) {
    ServerProcess server([](Endpoint const&, Letter const&) { return raise(SIGKILL); });
    Stopwatch const stopwatch;
    EXPECT_EQ(client_.Request("Server", question_, answerId, -1, &reply_), ECONNRESET);
    EXPECT_LT(stopwatch.ElapsedMs(), 5000);
}

TEST_F(LinxIpcTest, ManyNoticesDoNotHideThatTheServerHasEnded) {
    ServerProcess server([](Endpoint const&, Letter const&) { return 0; });
    Endpoint const other = Endpoint::Open("Other");
    std::atomic<bool> isOver = false;
    std::thread sending([&] {
        while (!isOver) {
            other.Send("Client", noticeId, {}, 0, 100);
        }
    });
    EXPECT_EQ(client_.Request("Server", question_, answerId, 5000, &reply_), ECONNRESET);
    isOver = true;
    sending.join();
}

TEST_F(LinxIpcTest, ServerThatEndsInOrderEndsTheWait) {
    ServerProcess server([](Endpoint const&, Letter const&) { return 0; });
    EXPECT_EQ(client_.Request("Server", question_, answerId, -1, &reply_), ECONNRESET);
}

TEST_F(LinxIpcTest, ServerThatIsKilledAndRestartedEndsTheWait) {
    Event over;
    Event opened;
    std::thread servers([&] {
        auto endpoint = std::make_unique<Endpoint>(Endpoint::Open("Server"));
        auto const former = endpoint->Served("Server");
        opened.Signal();
        ServerThread::Next(*endpoint);
        // A file made within the same tick of the file system's clock may look like the former one.
        do {
            endpoint.reset();
            endpoint = std::make_unique<Endpoint>(Endpoint::Open("Server"));
        } while (endpoint->Served("Server") == former);
        over.Wait();
    });
    EXPECT_TRUE(opened.Wait());
    Stopwatch const stopwatch;
    EXPECT_EQ(client_.Request("Server", question_, answerId, -1, &reply_), ECONNRESET);
    EXPECT_LT(stopwatch.ElapsedMs(), 5000) << "waited for the successor's end";
    over.Signal();
    servers.join();
}

TEST_F(LinxIpcTest, AnswerOfAServerThatDiesAfterwardsCounts) {
    ServerProcess server([](Endpoint const& endpoint, Letter const& request) {
        Answer(endpoint, request, "last words");
        return raise(SIGKILL);
    });
    EXPECT_EQ(client_.Request("Server", question_, answerId, -1, &reply_), 0);
    EXPECT_EQ(Text(reply_), "last words");
}

TEST_F(LinxIpcTest, NoticesThatComeDuringARequestAreKept) {
    ServerThread const server("Server", [](Endpoint& endpoint) {
        Letter const question = ServerThread::Next(endpoint);
        for (char const* const notice : {"first", "second"}) {
            endpoint.Send("Client", noticeId, std::string(notice), 0, patienceMs);
        }
        Answer(endpoint, question, "that");
        endpoint.Send("Client", noticeId, std::string("third"), 0, patienceMs);
    });
    Calls calls;
    client_.SetHandler(noticeId, Calls::Note, &calls);
    ASSERT_EQ(client_.Request("Server", question_, answerId, patienceMs, &reply_), 0);
    EXPECT_TRUE(calls.texts.empty());
    for (int notice = 0; notice < 3; ++notice) {
        EXPECT_EQ(client_.Receive(patienceMs, 0, LinxIpc::emptyString, nullptr), 0);
    }
    EXPECT_THAT(calls.texts, ElementsAre("first", "second", "third"));
    EXPECT_NE(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
}

TEST_F(LinxIpcTest, ReceiveGivesACopyAndMakesTheMessageCurrent) {
    Endpoint const sender = Endpoint::Open("Sender");
    EXPECT_EQ(client_.CurrentMessage().Size(), 0U);
    sender.Send("Client", noticeId, std::string("news"), 0, 0);
    IpcMessage copy;
    ASSERT_EQ(client_.Receive(patienceMs, 0, LinxIpc::emptyString, &copy), 0);
    EXPECT_EQ(copy.Id(), noticeId);
    EXPECT_EQ(Text(copy), "news");
    EXPECT_EQ(client_.CurrentMessage().Id(), noticeId);
    EXPECT_EQ(Text(client_.CurrentMessage()), "news");
    EXPECT_NE(client_.CurrentMessage().Data(), copy.Data());
}

TEST_F(LinxIpcTest, NothingInTimeIsAFailureOfReceive) {
    Stopwatch const stopwatch;
    EXPECT_EQ(client_.Receive(120, 0, LinxIpc::emptyString, nullptr), ETIMEDOUT);
    EXPECT_GE(stopwatch.ElapsedMs(), 120);
    EXPECT_LT(stopwatch.ElapsedMs(), 10000);
}

TEST_F(LinxIpcTest, ReceiveWithoutLimitWaits) {
    Event listening;
    ChildProcess sender([&] {
        Endpoint const endpoint = Endpoint::Open("Sender");
        listening.Wait();
        return endpoint.Send("Client", noticeId, {}, 0, 0) ? 0 : 1;
    });
    listening.Signal();
    EXPECT_EQ(client_.Receive(-1, 0, LinxIpc::emptyString, nullptr), 0);
    EXPECT_EQ(sender.Wait(), 0);
}

TEST_F(LinxIpcTest, UnwantedMessagesAreHandledOnTheWay) {
    Endpoint const wanted = Endpoint::Open("Wanted");
    Endpoint const unwanted = Endpoint::Open("Unwanted");
    Calls calls;
    client_.SetHandler(noticeId, Calls::Note, &calls);
    client_.SetHandler(answerId, Calls::Note, &calls);
    unwanted.Send("Client", answerId, std::string("right id, wrong sender"), 0, 0);
    wanted.Send("Client", noticeId, std::string("right sender, wrong id"), 0, 0);
    wanted.Send("Client", answerId, std::string("wanted"), 0, 0);
    wanted.Send("Client", answerId, std::string("next"), 0, 0);
    IpcMessage copy;
    ASSERT_EQ(client_.Receive(patienceMs, answerId, "Wanted", &copy), 0);
    EXPECT_EQ(Text(copy), "wanted");
    EXPECT_THAT(calls.texts,
                ElementsAre("right id, wrong sender", "right sender, wrong id", "wanted"));
    EXPECT_EQ(client_.Receive(0, noticeId, LinxIpc::emptyString, &copy), ETIMEDOUT);
    EXPECT_EQ(calls.texts.back(), "next");
    EXPECT_EQ(Text(copy), "wanted") << "copied although it was not wanted";
}

TEST_F(LinxIpcTest, LastRegisteredHandlerIsCalled) {
    Calls former;
    Calls latter;
    client_.SetHandler(noticeId, Calls::Note, &former);
    client_.SetHandler(noticeId, Calls::Note, &latter);
    client_.Request("Client", question_, 0, -1, nullptr);
    question_.Allocate(noticeId, 0, nullptr);
    client_.Request("Client", question_, 0, -1, nullptr);
    client_.Request("Client", question_, 0, -1, nullptr);
    EXPECT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0); // has no handler
    EXPECT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
    client_.SetHandler(noticeId, nullptr, nullptr);
    EXPECT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
    EXPECT_THAT(former.texts, ElementsAre());
    EXPECT_THAT(latter.texts, ElementsAre(""));
}

TEST_F(LinxIpcTest, HandlerMayRemoveItself) {
    Calls calls;
    client_.SetHandler(
        questionId,
        [](LinxIpc* ipc, void* user) {
            ipc->SetHandler(questionId, nullptr, nullptr);
            Calls::Note(ipc, user);
        },
        &calls);
    client_.Request("Client", question_, 0, -1, nullptr);
    client_.Request("Client", question_, 0, -1, nullptr);
    EXPECT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
    EXPECT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
    EXPECT_THAT(calls.texts, ElementsAre("what?"));
}

// The handler of a notification sends a request to the service.
TEST_F(LinxIpcTest, HandlerMayMakeRequests) {
    ServerThread const server("Server", [](Endpoint& endpoint) {
        endpoint.Send("Client", noticeId, std::string("ask me"), 0, patienceMs);
        Answer(endpoint, ServerThread::Next(endpoint), "that");
    });
    std::string answer;
    client_.SetHandler(
        noticeId,
        [](LinxIpc* ipc, void* user) {
            IpcMessage question;
            question.Allocate(questionId, 0, nullptr);
            IpcMessage reply;
            EXPECT_EQ(ipc->Request("Server", question, answerId, patienceMs, &reply), 0);
            *static_cast<std::string*>(user) = Text(reply);
        },
        &answer);
    EXPECT_EQ(client_.Receive(patienceMs, noticeId, LinxIpc::emptyString, nullptr), 0);
    EXPECT_EQ(answer, "that");
}

TEST_F(LinxIpcTest, CurrentMessageCanBeDecodedAndNothingBeyondIt) {
    UIntItem number(0x01020304);
    ASSERT_TRUE(workstation::ipc::PackMessage(question_, noticeId, {&number}));
    client_.Request("Client", question_, 0, -1, nullptr);
    UIntItem first;
    UIntItem second(9);
    struct Items {
        UIntItem& first;
        UIntItem& second;
    } items{first, second};
    client_.SetHandler(
        noticeId,
        [](LinxIpc* ipc, void* user) {
            auto* const in = reinterpret_cast<unsigned char*>(ipc->CurrentMessage().Data());
            auto& [one, two] = *static_cast<Items*>(user);
            EXPECT_EQ(two.Decode(one.Decode(in)), in + 4);
        },
        &items);
    ASSERT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
    EXPECT_EQ(first.Value(), 0x01020304U);
    EXPECT_EQ(second.Value(), 0U);
}

TEST_F(LinxIpcTest, CurrentMessagesOfTwoEndpointsCanBothBeDecoded) {
    LinxIpc other("Other");
    ASSERT_EQ(other.Init(), 0);
    UIntItem number(1);
    ASSERT_TRUE(workstation::ipc::PackMessage(question_, noticeId, {&number}));
    client_.Request("Client", question_, 0, -1, nullptr);
    number.Value(2);
    ASSERT_TRUE(workstation::ipc::PackMessage(question_, noticeId, {&number}));
    client_.Request("Other", question_, 0, -1, nullptr);
    ASSERT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
    ASSERT_EQ(other.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
    UIntItem decoded;
    decoded.Decode(reinterpret_cast<unsigned char*>(client_.CurrentMessage().Data()));
    EXPECT_EQ(decoded.Value(), 1U);
    decoded.Decode(reinterpret_cast<unsigned char*>(other.CurrentMessage().Data()));
    EXPECT_EQ(decoded.Value(), 2U);
}

TEST_F(LinxIpcTest, FormerMessageIsNotRead) {
    UIntItem number(1);
    ASSERT_TRUE(workstation::ipc::PackMessage(question_, noticeId, {&number}));
    client_.Request("Client", question_, 0, -1, nullptr);
    client_.Request("Client", question_, 0, -1, nullptr);
    ASSERT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
    auto* const former = reinterpret_cast<unsigned char*>(client_.CurrentMessage().Data());
    ASSERT_EQ(client_.Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
    UIntItem decoded(9);
    decoded.Decode(former);
    EXPECT_EQ(decoded.Value(), 0U);
}

TEST_F(LinxIpcTest, MessageOfADestroyedEndpointIsNotRead) {
    auto other = std::make_unique<LinxIpc>("Other");
    ASSERT_EQ(other->Init(), 0);
    UIntItem number(1);
    ASSERT_TRUE(workstation::ipc::PackMessage(question_, noticeId, {&number}));
    client_.Request("Other", question_, 0, -1, nullptr);
    ASSERT_EQ(other->Receive(0, 0, LinxIpc::emptyString, nullptr), 0);
    auto* const dangling = reinterpret_cast<unsigned char*>(other->CurrentMessage().Data());
    other.reset();
    UIntItem decoded(9);
    decoded.Decode(dangling);
    EXPECT_EQ(decoded.Value(), 0U);
}

TEST_F(LinxIpcTest, EndpointWithoutInitFails) {
    LinxIpc unready("Unready");
    EXPECT_EQ(unready.Request("Client", question_, 0, -1, nullptr), ENOTCONN);
    EXPECT_EQ(unready.Request("Client", question_, 0, -1, &reply_), ENOTCONN);
    EXPECT_EQ(unready.Receive(-1, 0, LinxIpc::emptyString, nullptr), ENOTCONN);
    EXPECT_EQ(unready.CurrentMessage().Size(), 0U);
    EXPECT_FALSE(std::filesystem::exists(root_.Ipc() / "Unready"));
}

TEST_F(LinxIpcTest, SecondEndpointWithTheSameNameFails) {
    LogFile const log(root_.Path() / "log");
    LinxIpc second("Client");
    EXPECT_EQ(second.Init(), ENOTCONN);
    EXPECT_THAT(log.Entries(), ElementsAre("endpoint Client: cannot take the name Client: "
                                           "Address already in use"));
    EXPECT_EQ(second.Request("Client", question_, 0, -1, nullptr), ENOTCONN);
    EXPECT_EQ(client_.Request("Client", question_, 0, -1, nullptr), 0);
}

TEST_F(LinxIpcTest, InitMayBeRepeated) {
    EXPECT_EQ(client_.Init(), 0);
    EXPECT_EQ(client_.Request("Client", question_, 0, -1, nullptr), 0);
}

TEST_F(LinxIpcTest, DestructionGivesTheNameFree) {
    {
        LinxIpc first("Brief");
        EXPECT_EQ(first.Init(), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(root_.Ipc() / "Brief"));
    LinxIpc second("Brief");
    EXPECT_EQ(second.Init(), 0);
}

TEST(LinxIpcInitTest, FailsWithoutAUsableDirectory) {
    TemporaryRoot const root;
    std::ofstream(root.Ipc()) << "in the way";
    LinxIpc ipc("Client");
    EXPECT_EQ(ipc.Init(), ENOTCONN);
    std::filesystem::remove(root.Ipc());
    EXPECT_EQ(ipc.Init(), 0) << "Init may succeed once the reason is gone";
}
