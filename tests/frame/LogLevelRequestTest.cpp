// Cases for the requests of the log level, and its dialogue.
#include "CommonCli.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

#include "Item.h"
#include "LinxIpc.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "ipc/ServerThread.h"
#include "support/TemporaryRoot.h"

using namespace workstation;

namespace {

class Tool : public CommonCli {
public:
    void Usage() override {}
    unsigned int ProcessOption(int, char const*) override { return 3; }
};

void Answer(ipc::Endpoint const& server, ipc::Letter const& question, unsigned int id,
            std::vector<char> const& payload) {
    server.Send(question.sender, id, payload, question.correlation, patienceMs);
}

// Answers requests to get and to set the level, and keeps the level that was set.
class Service {
public:
    std::vector<char> presentLevel = {0, 0, 0, 1};
    std::vector<char> confirmation = {1};
    std::vector<unsigned int> requests;
    unsigned int newLevel = 99;

    void Serve(ipc::Endpoint& endpoint, int questions) {
        for (; questions > 0; --questions) {
            ipc::Letter question = ServerThread::Next(endpoint);
            requests.push_back(question.id);
            if (question.id == api::getLogLevelRequest) {
                EXPECT_TRUE(question.payload.empty());
                Answer(endpoint, question, api::getLogLevelReply, presentLevel);
            } else {
                UIntItem level;
                EXPECT_TRUE(ipc::DecodeItems(question.payload, {&level}));
                newLevel = level.Value();
                Answer(endpoint, question, api::setLogLevelReply, confirmation);
            }
        }
    }
};

class LogLevelRequestTest : public testing::Test {
protected:
    LogLevelRequestTest() { EXPECT_EQ(ipc_.Init(), 0); }

    unsigned int Set(unsigned int level) {
        return Captured([&] { return tool_.SetLogLevel(ipc_, "StreamMgr", level); });
    }

    unsigned int Handle(std::string const& typed) {
        std::istringstream input(typed);
        std::streambuf* const former = std::cin.rdbuf(input.rdbuf());
        std::cin.clear();
        unsigned int const result =
            Captured([&] { return tool_.HandleLogLevel(ipc_, "StreamMgr"); });
        std::cin.rdbuf(former);
        return result;
    }

    TemporaryRoot const root_;
    LinxIpc ipc_{"Client"};
    Tool tool_;
    Service service_;
    std::string out_;
    std::string error_;

private:
    template <typename Work>
    unsigned int Captured(Work const& work) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        unsigned int const result = work();
        out_ = testing::internal::GetCapturedStdout();
        error_ = testing::internal::GetCapturedStderr();
        return result;
    }
};

std::string const menu = "Log level of StreamMgr: 1 (errors and notifications)\n"
                         "  0  none\n"
                         "  1  errors and notifications\n"
                         "  2  notes\n"
                         "  3  everything\n"
                         "New log level: ";

} // namespace

TEST_F(LogLevelRequestTest, IdsAreThese) {
    EXPECT_EQ(api::getLogLevelRequest, 0x3680U);
    EXPECT_EQ(api::getLogLevelReply, 0x3681U);
    EXPECT_EQ(api::setLogLevelRequest, 0x3682U);
    EXPECT_EQ(api::setLogLevelReply, 0x3683U);
}

TEST_F(LogLevelRequestTest, ConfirmedLevelIsSet) {
    for (unsigned int const level : {0U, 3U, 0xFFFFFFFFU}) {
        ServerThread const server("StreamMgr", [&](ipc::Endpoint& it) { service_.Serve(it, 1); });
        EXPECT_EQ(Set(level), 1U);
        EXPECT_EQ(out_, "");
        EXPECT_EQ(error_, "");
        EXPECT_EQ(service_.newLevel, level);
    }
}

TEST_F(LogLevelRequestTest, RefusedLevelIsAFailure) {
    service_.confirmation = {0};
    ServerThread const server("StreamMgr", [&](ipc::Endpoint& it) { service_.Serve(it, 1); });
    EXPECT_EQ(Set(9), 0U);
    EXPECT_EQ(out_, "");
    EXPECT_EQ(error_, "Could not set the log level of StreamMgr: refused\n");
}

TEST_F(LogLevelRequestTest, AbsentServiceIsAFailure) {
    EXPECT_EQ(Set(1), 0U);
    EXPECT_EQ(out_, "");
    EXPECT_EQ(error_, "Could not set the log level of StreamMgr: no answer\n");
    EXPECT_EQ(Handle("1\n"), 2U);
    EXPECT_EQ(out_, "");
    EXPECT_EQ(error_, "Could not get the log level of StreamMgr: no answer\n");
}

TEST_F(LogLevelRequestTest, MalformedAnswerIsAFailure) {
    for (std::vector<char> const& malformed :
         {std::vector<char>{}, std::vector<char>{2}, std::vector<char>{1, 1}}) {
        service_.confirmation = malformed;
        ServerThread const server("StreamMgr", [&](ipc::Endpoint& it) { service_.Serve(it, 1); });
        EXPECT_EQ(Set(1), 0U);
        EXPECT_EQ(error_, "Could not set the log level of StreamMgr: malformed answer\n");
    }
    service_.presentLevel = {0, 0, 1};
    ServerThread const server("StreamMgr", [&](ipc::Endpoint& it) { service_.Serve(it, 1); });
    EXPECT_EQ(Handle("1\n"), 2U);
    EXPECT_EQ(out_, "");
    EXPECT_EQ(error_, "Could not get the log level of StreamMgr: malformed answer\n");
}

TEST_F(LogLevelRequestTest, ChoiceByNumberOrNameIsSet) {
    struct {
        char const* typed;
        unsigned int level;
    } const cases[] = {
        {"2\n", 2}, {" 0 \n", 0}, {"everything\n", 3}, {"3", 3}, {"notes\r\n1\n", 2},
    };
    for (auto const& each : cases) {
        ServerThread const server("StreamMgr", [&](ipc::Endpoint& it) { service_.Serve(it, 2); });
        EXPECT_EQ(Handle(each.typed), 3U) << each.typed;
        EXPECT_EQ(out_, menu);
        EXPECT_EQ(error_, "");
        EXPECT_EQ(service_.newLevel, each.level);
    }
}

TEST_F(LogLevelRequestTest, EndOfInputIsNoChoice) {
    ServerThread const server("StreamMgr", [&](ipc::Endpoint& it) { service_.Serve(it, 1); });
    EXPECT_EQ(Handle(""), 2U);
    EXPECT_EQ(out_, menu + "\n");
    EXPECT_EQ(error_, "No log level was chosen\n");
}

TEST_F(LogLevelRequestTest, NonsenseIsNoChoice) {
    for (char const* const nonsense : {"4", "nonsense", ""}) {
        std::string const typed = nonsense;
        ServerThread const server("StreamMgr", [&](ipc::Endpoint& it) { service_.Serve(it, 1); });
        EXPECT_EQ(Handle(typed + "\n1\n"), 2U);
        EXPECT_EQ(out_, menu);
        EXPECT_EQ(error_, "There is no log level '" + typed + "'\n");
    }
    EXPECT_EQ(service_.newLevel, 99U) << "a level was set";
}

TEST_F(LogLevelRequestTest, RefusedChoiceIsAFailure) {
    service_.confirmation = {0};
    ServerThread const server("StreamMgr", [&](ipc::Endpoint& it) { service_.Serve(it, 2); });
    EXPECT_EQ(Handle("2\n"), 2U);
    EXPECT_EQ(out_, menu);
    EXPECT_EQ(error_, "Could not set the log level of StreamMgr: refused\n");
}
