// The question what the service is doing, and what comes in place of an answer.
#include "api/StatusRequest.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "Root.h"
#include "UserName.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "ipc/ServerThread.h"
#include "status/ServiceStatusItem.h"
#include "support/ChildProcess.h"
#include "support/FailureOf.h"
#include "support/OtherUser.h"
#include "support/TemporaryRoot.h"

namespace workstation::api {
namespace {

class StatusRequestTest : public testing::Test {
protected:
    // A service that answers one request so.
    static ServerThread::Script Answers(std::uint32_t id, std::vector<char> payload) {
        return [id, payload](ipc::Endpoint& service) {
            auto const request = ServerThread::Next(service);
            EXPECT_EQ(request.id, statusRequest);
            EXPECT_TRUE(request.payload.empty());
            EXPECT_TRUE(service.Send(request.sender, id, payload, request.correlation, 0));
        };
    }
    static std::string Reason() {
        return FailureOf([] { AskForStatus("Client"); });
    }
    std::vector<std::string> Sockets() const {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(root_.Path() / "ipc")) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    TemporaryRoot root_;
    std::string const notRunning_ = "no StreamMgr runs in '" + RootDirectory() + "'";
};

TEST_F(StatusRequestTest, IsAnswered) {
    status::ServiceStatus status;
    status.process = 17;
    status.streams.resize(2);
    status::ServiceStatusItem item(status);
    {
        ServerThread const service("StreamMgr", Answers(statusReply, ipc::EncodeItems({&item})));
        EXPECT_EQ(AskForStatus("Client"), status);
        EXPECT_EQ(Sockets(), std::vector<std::string>{"StreamMgr"});
    }
}

TEST_F(StatusRequestTest, WithoutARootMakesNone) {
    std::string const missing = root_.Path() / "missing";
    setenv("STREAMMGR_ROOT", missing.c_str(), 1);
    EXPECT_EQ(Reason(), "no StreamMgr runs in '" + missing + "'");
    EXPECT_FALSE(std::filesystem::exists(missing));
    root_.Use();
}

TEST_F(StatusRequestTest, WithoutAServiceChangesNothing) {
    EXPECT_EQ(Reason(), notRunning_);
    EXPECT_TRUE(std::filesystem::is_empty(root_.Path()));
    std::filesystem::create_directory(root_.Path() / "ipc");
    EXPECT_EQ(Reason(), notRunning_);
    EXPECT_TRUE(Sockets().empty());
}

TEST_F(StatusRequestTest, OfAServiceThatWasKilledIsNotAnswered) {
    {
        ipc::Endpoint const service = ipc::Endpoint::Open("StreamMgr");
        std::filesystem::rename(root_.Path() / "ipc/StreamMgr", root_.Path() / "ipc/left");
    }
    std::filesystem::rename(root_.Path() / "ipc/left", root_.Path() / "ipc/StreamMgr");
    EXPECT_EQ(Reason(), notRunning_);
    EXPECT_EQ(Sockets(), std::vector<std::string>{"StreamMgr"});
}

TEST_F(StatusRequestTest, OfAServiceThatEndsIsNotAnswered) {
    std::optional<ServerThread> service;
    service.emplace("StreamMgr", [](ipc::Endpoint& endpoint) { ServerThread::Next(endpoint); });
    std::jthread const end([&service] { service.reset(); });
    EXPECT_EQ(Reason(), "StreamMgr has ended");
    EXPECT_TRUE(Sockets().empty());
}

TEST_F(StatusRequestTest, MalformedAnswerIsNotUnderstood) {
    for (std::size_t const size : {0U, 3U, 60000U}) {
        ServerThread const service("StreamMgr",
                                   Answers(statusReply, std::vector<char>(size, '\xFF')));
        EXPECT_EQ(Reason(), "StreamMgr answers in another form: it is of another version");
    }
}

TEST_F(StatusRequestTest, OfAServiceThatDoesNotAnswerIsGivenUp) {
    ipc::Endpoint const service = ipc::Endpoint::Open("StreamMgr");
    EXPECT_EQ(Reason(), "StreamMgr does not answer");
    EXPECT_EQ(Sockets(), std::vector<std::string>{"StreamMgr"});
}

TEST_F(StatusRequestTest, OfAnotherUsersServiceNamesThatUser) {
    SKIP_UNLESS_ROOT();
    ipc::Endpoint const service = ipc::Endpoint::Open("StreamMgr");
    ASSERT_EQ(chown((root_.Path() / "ipc/StreamMgr").c_str(), otherUser, otherUser), 0);
    EXPECT_EQ(Reason(), "StreamMgr is served by " + UserName(otherUser) + ", not by " +
                            UserName(geteuid()) + ": not used");
}

TEST_F(StatusRequestTest, OfARecorderWithoutAccessNamesItsOwner) {
    SKIP_UNLESS_ROOT();
    ipc::Endpoint const service = ipc::Endpoint::Open("StreamMgr");
    chmod(root_.Path().c_str(), 0755);
    ChildProcess stranger([] {
        EXPECT_TRUE(BecomeUser(otherUser));
        EXPECT_EQ(Reason(), "cannot open " + IpcDirectory() + ": Permission denied; '" +
                                RootDirectory() + "' belongs to " + UserName(0));
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(stranger.Wait(), 0);
}

} // namespace
} // namespace workstation::api
