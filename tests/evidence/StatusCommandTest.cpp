// d2b status: what it prints, and its exit status.
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "CommandRun.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "ipc/ServerThread.h"
#include "status/ServiceStatusItem.h"
#include "support/TestRoot.h"

using namespace workstation;
using State = status::StreamStatus::State;

namespace {

class StatusCommandTest : public testing::Test {
protected:
    StatusCommandTest() {
        setenv("TZ", "UTC", 1);
        status_.process = 17;
        status_.upSeconds = 60;
        status_.storage = {962560, 96256, 866304};
        status_.subscribers = 2;
    }
    ~StatusCommandTest() override { unsetenv("TZ"); }

    void AddStream(status::StreamStatus const& stream) { status_.streams.push_back(stream); }
    void AddRecording() {
        AddStream({1, "udp://239.1.2.3:5000", true, State::recording, 1750000000, 9998765, 2, 18800,
                   123, ""});
    }

    // While a service answers with the status.
    Outcome Status(std::vector<std::string> arguments = {}) const {
        arguments.insert(arguments.begin(), "status");
        ServerThread const service("StreamMgr", [this](ipc::Endpoint& endpoint) {
            auto const request = ServerThread::Next(endpoint);
            status::ServiceStatusItem item(status_);
            EXPECT_TRUE(endpoint.Send(request.sender, api::statusReply, ipc::EncodeItems({&item}),
                                      request.correlation, 0));
        });
        return RunCommand(arguments);
    }
    nlohmann::json Json(int status) const {
        auto const outcome = Status({"--json"});
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.err, "");
        EXPECT_TRUE(FitsSchema(outcome.out, STATUS_SCHEMA)) << outcome.out;
        return nlohmann::json::parse(outcome.out);
    }

    TestRoot root_;
    status::ServiceStatus status_;
    std::string const end_ =
        "storage: total 962560 KiB, buffer 96256 KiB (10.0 %), free 866304 KiB "
        "(90.0 %)\n"
        "subscribers: 2\n"
        "service: process 17, up 60 s\n";
};

TEST_F(StatusCommandTest, OfAServiceThatRecordsNothingIsWell) {
    EXPECT_EQ(Status(), (Outcome{0, "no stream is recorded\n" + end_, ""}));
    EXPECT_EQ(Json(0), nlohmann::json::parse(R"({
        "service": {"pid": 17, "up_seconds": 60}, "streams": [],
        "storage": {"total_kib": 962560, "buffer_kib": 96256, "free_kib": 866304},
        "subscribers": 2})"));
}

TEST_F(StatusCommandTest, StreamsStandInAlignedColumns) {
    AddRecording();
    AddStream({3, "clip.ts", false, State::ended, 1750000001, 0, 0, 0, {}, ""});
    EXPECT_EQ(
        Status(),
        (Outcome{0,
                 "stream  source                state      last packet                  bit rate  "
                 "restarts  bytes dropped  slot\n"
                 "     1  udp://239.1.2.3:5000  recording  2025-06-15 15:06:40 UTC  10.00 Mbit/s  "
                 "       2          18800   123\n"
                 "     3  clip.ts               ended      2025-06-15 15:06:41 UTC   0.00 Mbit/s  "
                 "       0              0     -\n" +
                     end_,
                 ""}));
}

TEST_F(StatusCommandTest, JsonHasAllFactsAndNullForNothing) {
    AddRecording();
    AddStream({2, "exec:\xFF", true, State::waiting, {}, 0, 4294967295, 0x123456789ABCDEF, {}, ""});
    EXPECT_EQ(Json(3)["streams"], nlohmann::json::parse(R"([
        {"stream": 1, "source": "udp://239.1.2.3:5000", "state": "recording",
         "last_packet": 1750000000, "bits_per_second": 9998765, "restarts": 2,
         "dropped_bytes": 18800, "slot": 123},
        {"stream": 2, "source": "exec:\uFFFD", "state": "waiting", "last_packet": null,
         "bits_per_second": 0, "restarts": 4294967295, "dropped_bytes": 81985529216486895,
         "slot": null}])"));
}

TEST_F(StatusCommandTest, ReasonsWhyItIsDegradedComeLast) {
    AddRecording();
    status_.streams[0].state = State::waiting;
    status_.streams[0].problem = "no file to record into";
    status_.problem = "the disk is gone";
    auto const outcome = Status();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_TRUE(outcome.out.ends_with(end_ + "degraded: the disk is gone\n"
                                             "degraded: stream 1: no file to record into\n"
                                             "degraded: stream 1: waiting for "
                                             "udp://239.1.2.3:5000\n"))
        << outcome.out;
    EXPECT_EQ(outcome.err, "");
}

TEST_F(StatusCommandTest, WithoutAServiceIsStatus4) {
    Outcome const none{4, "", "d2b: no service: no StreamMgr runs in '" + root_.Path() + "'\n"};
    EXPECT_EQ(RunCommand({"status"}), none);
    EXPECT_EQ(RunCommand({"status", "--json"}), none);
    EXPECT_TRUE(std::filesystem::is_empty(root_.Path()));
}

TEST_F(StatusCommandTest, MisuseIsStatus2) {
    for (std::string const word : {"--pool", "now", "--jso"}) {
        EXPECT_EQ(RunCommand({"status", word}).status, 2) << word;
    }
}

// A signal that comes meanwhile takes effect when the socket file is gone.
TEST_F(StatusCommandTest, InterruptedLeavesNoSocket) {
    auto const sockets = [this] {
        return std::distance(std::filesystem::directory_iterator(root_.Path() + "/ipc"), {});
    };
    for (int const signal : {SIGHUP, SIGINT, SIGTERM}) {
        std::optional<ipc::Endpoint> service(ipc::Endpoint::Open("StreamMgr"));
        ChildProcess tool([] { return Execute({D2B, "status"}); });
        while (sockets() != 2) { // the test's time limit ends this
            std::this_thread::yield();
        }
        tool.Signal(signal);
        service.reset();
        EXPECT_EQ(tool.Wait(), -1);
        EXPECT_EQ(sockets(), 0);
    }
}

} // namespace
