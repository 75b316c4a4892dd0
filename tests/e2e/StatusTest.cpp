// What d2b status shows of the service, in each state that it can be in.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>

#include <nlohmann/json.hpp>

#include "Events.h"
#include "SmallDisk.h"
#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using workstation::FileDescriptor;

class Status : public testing::Test {
protected:
    Outcome Text() const { return recorder.PoolTool({"status"}); }

    json Json(int status) const {
        Outcome const outcome = recorder.PoolTool({"status", "--json"});
        EXPECT_EQ(outcome.status, status) << outcome;
        EXPECT_EQ(outcome.err, "");
        return json::parse(outcome.out);
    }
    // That of the only stream.
    json Stream(int status) const { return Json(status).at("streams").at(0); }

    // Asks until the answer is as wanted. No other process notices when the service notes a fact.
    json Await(std::function<bool(json const&)> const& isWanted) const {
        auto const deadline = std::chrono::steady_clock::now() + patience;
        for (;;) {
            json const status = json::parse(recorder.PoolTool({"status", "--json"}).out);
            if (isWanted(status)) {
                return status;
            }
            if (std::chrono::steady_clock::now() > deadline) {
                ADD_FAILURE() << status.dump(4);
                return status;
            }
            poll(nullptr, 0, 20);
        }
    }
    json AwaitStream(std::function<bool(json const&)> const& isWanted) const {
        return Await([&](json const& status) { return isWanted(status.at("streams").at(0)); })
            .at("streams")
            .at(0);
    }

    void ExpectNoService(std::string const& reason) const {
        Outcome const expected{4, "", "d2b: no service: " + reason + "\n"};
        EXPECT_EQ(Text(), expected);
        EXPECT_EQ(recorder.PoolTool({"status", "--json"}), expected);
    }

    std::string MakeFifo(std::string const& name) const {
        std::string const path = recorder.Directory() / name;
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    Recorder recorder;
    std::string const notServed = "no StreamMgr runs in '" + recorder.Root().string() + "'";
};

json const null;

TEST_F(Status, OfAFileAMissingWriterAndAnEndedInput) {
    std::string const fifo = MakeFifo("camera");
    recorder.CreatePool(3);
    auto const start = std::time(nullptr);
    recorder.StartService(
        {"--record", "1=" CLIP_PATH, "--record", "2=" + fifo, "--record", "3=-", "--loop"});
    recorder.Service().EndInput();
    ASSERT_TRUE(recorder.Logs("stream 3: standard input is no transport stream\n"));
    recorder.WaitForData(1);
    json const status = Json(3);
    Outcome const fits = RunToEnd(
        {{"python3", "-m", "jsonschema", "-i", "/dev/stdin", STATUS_SCHEMA}, {}, status.dump()});
    EXPECT_EQ(fits.status, 0) << fits;
    EXPECT_EQ(status["service"]["pid"], recorder.Service().Pid());
    EXPECT_LE(status["service"]["up_seconds"], std::time(nullptr) - start);
    EXPECT_EQ(status["storage"],
              (json{{"total_kib", 288768}, {"buffer_kib", 96256}, {"free_kib", 192512}}));
    EXPECT_EQ(status["subscribers"], 0);
    ASSERT_EQ(status["streams"].size(), 3U);
    json file = status["streams"][0];
    EXPECT_GE(file["last_packet"], start);
    EXPECT_LE(file["last_packet"], std::time(nullptr));
    EXPECT_GT(file["bits_per_second"], 0);
    file.erase("last_packet");
    file.erase("bits_per_second");
    EXPECT_EQ(file, (json{{"stream", 1},
                          {"source", CLIP_PATH},
                          {"state", "recording"},
                          {"restarts", 0},
                          {"dropped_bytes", 0},
                          {"slot", 1}}));
    json expected{{"stream", 2},         {"source", fifo},       {"state", "waiting"},
                  {"last_packet", null}, {"bits_per_second", 0}, {"restarts", 0},
                  {"dropped_bytes", 0},  {"slot", null}};
    EXPECT_EQ(status["streams"][1], expected);
    expected["stream"] = 3;
    expected["source"] = "standard input";
    expected["state"] = "ended";
    EXPECT_EQ(status["streams"][2], expected);

    std::string const text = Text().out;
    EXPECT_THAT(text, HasSubstr("\ndegraded: stream 2: waiting for " + fifo + "\n"));
    EXPECT_EQ(text.find("degraded:"), text.rfind("degraded:")) << text;
}

// The service logs what d2b status shows, in the same words.
TEST_F(Status, IsLoggedForTheInfoRequest) {
    recorder.CreatePool(2);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--fast", "--record", "2=exec:false"});
    ASSERT_TRUE(recorder.Logs(" stopped\n"));
    ASSERT_TRUE(recorder.Logs("exec:false is gone"));
    Await([](json const& status) { return status["streams"][0]["state"] == "ended"; });
    std::string const text = Text().out;
    EXPECT_EQ(recorder.Tool({"-i"}).status, 0);
    ASSERT_TRUE(recorder.Logs("degraded: stream 2: waiting for exec:false\n"));
    std::string const log = recorder.LogOf("StreamMgr");
    EXPECT_THAT(log, HasSubstr("process " + std::to_string(recorder.Service().Pid()) + ", up "));
    EXPECT_THAT(log, HasSubstr(" of 2 files, 1 recordings, 0 subscriptions\n"));
    EXPECT_THAT(Replaced(log, "[0-9:-]+ [0-9:]+ [A-Z]+, bit rate [0-9.]+", "TIME, bit rate R"),
                HasSubstr("stream 1: source " CLIP_PATH ", state ended, last packet TIME, bit rate "
                          "R Mbit/s, restarts 0, bytes dropped 0, slot -\n"));
    EXPECT_THAT(Replaced(log, "restarts [0-9]+", "restarts N"),
                HasSubstr("stream 2: source exec:false, state waiting, last packet -, bit rate "
                          "0.00 Mbit/s, restarts N, bytes dropped 0, slot -\n"));
    EXPECT_THAT(text, HasSubstr("\ndegraded: stream 2: waiting for exec:false\n"));
}

// The source is silent for less than the 10 s after which it counts as gone.
TEST_F(Status, BitRateIsThatOfTheSourceAndGoesDownWhenItIsSilent) {
    std::string const fifo = MakeFifo("camera");
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + fifo});
    FileDescriptor const writer(open(fifo.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(write(writer.Get(), Clip().data(), 40000 / packetSize * packetSize), 39856);
    json const recording = AwaitStream(
        [](json const& stream) { return stream["state"] == "recording" && stream["slot"] == 1; });
    EXPECT_LE(recording["bits_per_second"], 39856 * 8);
    EXPECT_GE(recording["bits_per_second"], 39856 * 8 / 5);
    EXPECT_EQ(Text().status, 0);
    json const silent =
        AwaitStream([](json const& stream) { return stream["bits_per_second"] == 0; });
    EXPECT_EQ(silent["last_packet"], recording["last_packet"]);
    EXPECT_EQ(silent["slot"], 1);
}

TEST_F(Status, BitRateOfAClipInRealTimeIsItsOwn) {
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--loop"});
    auto const isNear = [](json const& stream) {
        return stream["bits_per_second"] > 1900000 && stream["bits_per_second"] < 2200000;
    };
    AwaitStream(isNear);
}

TEST_F(Status, CountsTheBytesThatAreNoPackets) {
    WriteFile(recorder.Directory() / "noise", std::string(100000, '\1'));
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=exec:cat " + (recorder.Directory() / "noise").string() +
                                           " " CLIP_PATH "; echo secret; exec sleep 1000"});
    json const stream = AwaitStream([](json const& now) { return now["state"] == "recording"; });
    EXPECT_EQ(stream["dropped_bytes"], 100000);
    EXPECT_EQ(stream["source"], "exec:cat");
    EXPECT_THAT(Text().out + Json(0).dump(), Not(HasSubstr("secret")));
}

TEST_F(Status, CountsHowOftenASourceIsBegunAgain) {
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=exec:cat " CLIP_PATH});
    ASSERT_TRUE(recorder.Logs("exec:cat is back\n"));
    json const stream = AwaitStream([](json const& now) { return now["restarts"] >= 2; });
    EXPECT_LE(stream["restarts"], 10);
    EXPECT_EQ(stream["slot"], 1);
    EXPECT_NE(stream["last_packet"], null);
}

TEST_F(Status, CountsTheSubscribers) {
    recorder.CreatePool(1);
    recorder.StartService();
    {
        Child subscriber(recorder.ToolCommand({"-c"}));
        ASSERT_TRUE(recorder.Logs("subscription requested by ", 3));
        EXPECT_EQ(Json(0)["subscribers"], 1);
        subscriber.Signal(SIGKILL);
        subscriber.Finish();
    }
    EXPECT_EQ(Json(0)["subscribers"], 0);
}

// The only stream file holds what the database does not know.
TEST_F(Status, OfARecordingWithoutASlotIsDegraded) {
    recorder.CreatePool(1);
    recorder.Load(1, Clip());
    recorder.StartService({"--record", "1=exec:cat " CLIP_PATH "; exec sleep 1000"});
    ASSERT_TRUE(recorder.Logs("no file to record into"));
    json const stream = AwaitStream([](json const& now) { return now["state"] == "recording"; });
    EXPECT_EQ(stream["slot"], null);
    Outcome const outcome = Text();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.out, HasSubstr("\ndegraded: stream 1: no file to record into: events hold "
                                       "them all, or others write them\n"));
    Outcome const freed = recorder.PoolTool({"set", "1", "--length", "0"});
    EXPECT_EQ(freed.status, 0) << freed;
    Await([&](json const& status) { return status["streams"][0]["slot"] == 1; });
    EXPECT_EQ(Text().status, 0);
}

TEST_F(Status, OfAFullDiskIsDegradedAndSaysSo) {
    SmallDisk const disk(recorder.Root(), 4 << 20);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "only the superuser may mount a file system";
    }
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--loop", "--fast"});
    ASSERT_TRUE(recorder.Logs("stream 1: cannot record into stream file 1: "));
    Outcome const outcome = Text();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.out, HasSubstr("\ndegraded: stream 1: cannot record into stream file 1: No "
                                       "space left on device\n"));
    EXPECT_EQ(Stream(3)["slot"], 1);
    recorder.StopService(SIGKILL);
}

TEST_F(Status, OfASourceThatIsNotThereIsDegraded) {
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=/nowhere"});
    ASSERT_TRUE(recorder.Logs("cannot open '/nowhere'"));
    AwaitStream([](json const& now) { return now["state"] == "ended"; });
    Outcome const outcome = Text();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.out,
                HasSubstr("\ndegraded: stream 1: cannot open '/nowhere': No such file or "
                          "directory\n"));
}

TEST_F(Status, OfADirectoryPoolIsWellUntilItIsToRecord) {
    ASSERT_EQ(recorder.PoolTool({"create", "--ext4", "--files", "1"}).status, 0);
    recorder.StartService();
    json const nothing{{"total_kib", 0}, {"buffer_kib", 0}, {"free_kib", 0}};
    EXPECT_EQ(Json(0)["storage"], nothing);
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    recorder.StartService({"--record", "1=" CLIP_PATH});
    EXPECT_EQ(Json(3)["streams"], json::array());
    EXPECT_THAT(Text().out, HasSubstr("\ndegraded: the pool '" + recorder.Pool().string() +
                                      "' is a directory: nothing is recorded\n"));
}

TEST_F(Status, WithoutAServiceIsStatus4AndChangesNothing) {
    ExpectNoService(notServed);
    EXPECT_TRUE(fs::is_empty(recorder.Root()));
    recorder.CreatePool(1);
    auto const time = fs::last_write_time(recorder.Root());
    ExpectNoService(notServed);
    EXPECT_EQ(fs::last_write_time(recorder.Root()), time);
    recorder.StartService();
    recorder.StopService(SIGKILL);
    ASSERT_TRUE(fs::exists(recorder.Root() / "ipc/StreamMgr"));
    ExpectNoService(notServed);
}

TEST_F(Status, OfAServiceThatHangsIsStatus4Soon) {
    recorder.CreatePool(1);
    recorder.StartService();
    recorder.Service().Signal(SIGSTOP);
    ExpectNoService("StreamMgr does not answer");
    recorder.Service().Signal(SIGCONT);
    EXPECT_EQ(Text().status, 0);
    std::vector<std::string> sockets;
    for (auto const& entry : fs::directory_iterator(recorder.Root() / "ipc")) {
        sockets.push_back(entry.path().filename());
    }
    EXPECT_EQ(sockets, std::vector<std::string>{"StreamMgr"});
}

} // namespace
} // namespace e2e
