// The service ends within two seconds, whatever goes on, and nothing that it has read is lost.
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <csignal>
#include <list>

#include "Events.h"
#include "FaultyDisk.h"
#include "LivePipe.h"
#include "TransportStream.h"
#include "support/DirectoryWatch.h"
#include "support/Stopwatch.h"

namespace e2e {
namespace {

// What is promised is 2 s; the machine of a test has other work too.
constexpr long longestEndMs = 4000;

Outcome const quietEnd{0, "StreamMgr: ready\n", ""};

class End : public testing::Test {
protected:
    void ExpectPromptEnd() {
        Stopwatch const time;
        EXPECT_EQ(recorder.StopService(SIGTERM), quietEnd);
        EXPECT_LT(time.ElapsedMs(), longestEndMs);
        RecordProperty("milliseconds", static_cast<int>(time.ElapsedMs()));
        EXPECT_EQ(recorder.PoolTool({"check"}).status, 0);
    }
    std::string Recorded(int number) const {
        EXPECT_EQ(recorder.Tool({"-x", std::to_string(number)}).status, 0);
        return WithoutTicks(ReadFile(recorder.Extracted(number)));
    }

    Recorder recorder;
};

// Also the last packet, after which no other has begun. What follows it is no packet.
TEST_F(End, KeepsEveryPacketThatWasRead) {
    LivePipe const camera(recorder.Directory() / "camera");
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + camera.Path()});
    std::string const packets = FewPackets();
    camera.Write(packets + "\x47 the beginning of a packet");
    camera.AwaitRead();
    ExpectPromptEnd();
    EXPECT_TRUE(Recorded(1) == packets);
}

TEST_F(End, DoesNotWaitForCommandsThatIgnoreItNorForSilentSources) {
    LivePipe const camera(recorder.Directory() / "camera");
    recorder.CreatePool(4);
    std::string const begun = recorder.Directory() / "begun";
    std::string const stubborn =
        "=exec:trap '' TERM; cat " CLIP_PATH "; echo >>" + begun + "; while sleep 1000; do :; done";
    recorder.StartService({"--record", "1" + stubborn, "--record", "2" + stubborn, "--record",
                           "3=" + camera.Path(), "--record", "4=udp://127.0.0.1:9"});
    ASSERT_TRUE(AwaitInDirectory(recorder.Directory(), patience,
                                 [&] { return ReadFile(begun) == "\n\n"; }));
    for (int const number : {1, 2}) {
        recorder.WaitForData(number, static_cast<std::uint32_t>(Clip().size()));
    }
    ExpectPromptEnd();
    EXPECT_TRUE(Recorded(1) == Clip());
    EXPECT_TRUE(Recorded(2) == Clip());
}

TEST_F(End, DoesNotWaitForAFreeFile) {
    LivePipe const camera(recorder.Directory() / "camera");
    LivePipe const other(recorder.Directory() / "other");
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + camera.Path(), "--record", "2=" + other.Path()});
    camera.Write(Clip());
    recorder.WaitForData(1);
    other.Write(FewPackets());
    std::string const full = "stream 2: no file to record into";
    ASSERT_TRUE(recorder.Logs(full));
    ExpectPromptEnd();
    EXPECT_TRUE(Recorded(1) == Clip());
    EXPECT_EQ(recorder.Log().find(full), recorder.Log().rfind(full));
}

TEST_F(End, DoesNotWaitForASubscriberThatDoesNotRead) {
    LivePipe const camera(recorder.Directory() / "camera");
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + camera.Path()});
    Child const subscriber(recorder.ToolCommand({"-c"}));
    ASSERT_TRUE(recorder.Logs("subscription requested by", 3));
    subscriber.Signal(SIGSTOP);
    camera.Write(Clip());
    camera.AwaitRead();
    ExpectPromptEnd();
    EXPECT_TRUE(Recorded(1) == Clip());
}

TEST_F(End, IsPromptOnASlowDisk) {
    SKIP_WITH_SANITIZERS();
    FaultyDisk const disk(recorder);
    std::list<LivePipe> cameras;
    Words arguments;
    for (int stream = 1; stream <= 4; ++stream) {
        std::string const number = std::to_string(stream);
        cameras.emplace_back(recorder.Directory() / ("camera" + number));
        arguments.insert(arguments.end(), {"--record", number + '=' + cameras.back().Path()});
    }
    recorder.CreatePool(4);
    recorder.StartService(arguments);
    disk.Set(FaultyDisk::slowFlush);
    for (LivePipe const& camera : cameras) {
        camera.Write(Clip());
        camera.AwaitRead();
    }
    ExpectPromptEnd();
    for (int number = 1; number <= 4; ++number) {
        EXPECT_TRUE(Recorded(number) == Clip()) << number;
    }
}

// What cannot be finished then, the next start finishes.
TEST_F(End, DoesNotWaitForADatabaseThatAnotherProgramHasLocked) {
    LivePipe const camera(recorder.Directory() / "camera");
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + camera.Path()});
    camera.Write(Clip());
    camera.AwaitRead();
    recorder.WaitForData(1);
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open((recorder.Root() / "events.db").c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    ExpectPromptEnd();
    sqlite3_close(other);
    recorder.StartService();
    EXPECT_THAT(recorder.Log(),
                testing::HasSubstr("finished the interrupted recording into stream file 1"));
    EXPECT_TRUE(Recorded(1) == Clip());
}

TEST_F(End, IsTheSameOnRequest) {
    LivePipe const camera(recorder.Directory() / "camera");
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + camera.Path()});
    camera.Write(Clip());
    camera.AwaitRead();
    EXPECT_EQ(recorder.Tool({"-q"}).status, 0);
    EXPECT_EQ(recorder.Service().Finish(), quietEnd);
    EXPECT_TRUE(Recorded(1) == Clip());
}

} // namespace
} // namespace e2e
