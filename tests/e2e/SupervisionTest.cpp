// What a service manager is shown of the service.
#include <gmock/gmock.h>

#include <csignal>
#include <ctime>

#include "Events.h"
#include "FaultyDisk.h"
#include "LivePipe.h"
#include "TransportStream.h"
#include "support/NotifySocket.h"

namespace e2e {
namespace {

using testing::HasSubstr;
using testing::Not;

class Supervision : public testing::Test {
protected:
    Supervision() { recorder.SetForService("NOTIFY_SOCKET", manager.Path()); }

    // Then the service is to show each 100 ms that it makes progress.
    void Watch() { recorder.SetForService("WATCHDOG_USEC", "200000"); }

    Recorder recorder;
    NotifySocket manager{recorder.Directory() / "notify"};
};

TEST_F(Supervision, ShowsThatTheServiceIsReadyWhatItRecordsAndThatItStops) {
    LivePipe const camera(recorder.Directory() / "camera");
    LivePipe const other(recorder.Directory() / "other");
    recorder.CreatePool(4);
    recorder.StartService({"--record", "1=" + camera.Path(), "--record", "3=" + other.Path()});
    EXPECT_EQ(manager.Next(), "READY=1");
    EXPECT_EQ(manager.Next(), "STATUS=recording 0 of 2 streams, 2 waiting; 4 of 4 slots free");
    camera.Write(Clip());
    manager.Await("STATUS=recording 1 of 2 streams, 1 waiting; 3 of 4 slots free");
    other.Write(Clip());
    manager.Await("STATUS=recording 2 of 2 streams; 2 of 4 slots free");
    recorder.Service().Signal(SIGTERM);
    manager.Await("STOPPING=1");
    EXPECT_EQ(recorder.Service().Finish(), (Outcome{0, "StreamMgr: ready\n", ""}));
    EXPECT_EQ(manager.Next(std::chrono::milliseconds(0)), "");
}

TEST_F(Supervision, ShowsWhyAStreamIsNotRecorded) {
    LivePipe const camera(recorder.Directory() / "camera");
    LivePipe const other(recorder.Directory() / "other");
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + camera.Path(), "--record", "2=" + other.Path()});
    camera.Write(Clip());
    manager.Await("STATUS=recording 1 of 2 streams, 1 waiting; 0 of 1 slots free");
    other.Write(FewPackets());
    manager.Await("STATUS=recording 1 of 2 streams; 0 of 1 slots free; stream 2: no file to record "
                  "into: events hold them all, or others write them");
}

TEST_F(Supervision, CommandsOfSourcesCannotSpeakForTheService) {
    Watch();
    std::string const variables = recorder.Directory() / "variables";
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=exec:env >" + variables});
    ASSERT_TRUE(recorder.Logs("stream 1: exec:env is gone"));
    std::string const text = ReadFile(variables);
    EXPECT_THAT(text, HasSubstr("STREAMMGR_ROOT="));
    EXPECT_THAT(text, Not(HasSubstr("NOTIFY_SOCKET")));
    EXPECT_THAT(text, Not(HasSubstr("WATCHDOG")));
}

// --- the watchdog --------------------------------------------------------------------------------

// A silent source, and a stream for which there is no file.
TEST_F(Supervision, WatchdogIsFedWhileThreadsWait) {
    Watch();
    LivePipe const camera(recorder.Directory() / "camera");
    LivePipe const full(recorder.Directory() / "full");
    LivePipe const silent(recorder.Directory() / "silent");
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + camera.Path(), "--record", "2=" + full.Path(),
                           "--record", "3=" + silent.Path()});
    camera.Write(Clip());
    recorder.WaitForData(1);
    full.Write(FewPackets());
    ASSERT_TRUE(recorder.Logs("stream 2: no file to record into"));
    for (int times = 0; times < 20; ++times) { // ten times the limit
        manager.Await("WATCHDOG=1");
    }
    EXPECT_THAT(recorder.Log(), Not(HasSubstr("stuck")));
}

TEST_F(Supervision, WatchdogIsNotFedWhileAFlushHangs) {
    SKIP_WITH_SANITIZERS();
    Watch();
    FaultyDisk const disk(recorder);
    LivePipe const camera(recorder.Directory() / "camera");
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + camera.Path()});
    camera.Write(Clip());
    recorder.WaitForData(1);
    manager.Await("WATCHDOG=1");
    disk.Set(FaultyDisk::hangingFlush);
    camera.Write(Clip());
    std::string const stuck =
        "the flush of the pool is stuck: the service manager gets no sign of life\n";
    ASSERT_TRUE(recorder.Logs(stuck));
    while (!manager.Next(std::chrono::milliseconds(0)).empty()) { // sent before
    }
    EXPECT_THAT(manager.Next(std::chrono::milliseconds(1000)), Not(HasSubstr("WATCHDOG")));
    disk.Set(FaultyDisk::nothing);
    ASSERT_TRUE(recorder.Logs("the flush of the pool goes on\n"));
    manager.Await("WATCHDOG=1");
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    EXPECT_EQ(recorder.Log().find(stuck), recorder.Log().rfind(stuck));
    recorder.Tool({"-x", "1"});
    EXPECT_TRUE(WithoutTicks(ReadFile(recorder.Extracted(1))) == Clip() + Clip());
}

// --- reading the configuration again -------------------------------------------------------------

TEST_F(Supervision, ReloadIsAnnouncedWithItsTimeAndItsEnd) {
    recorder.CreatePool(1);
    WriteFile(recorder.Directory() / "config", "");
    recorder.StartService({"--config", recorder.Directory() / "config"});
    EXPECT_EQ(manager.Next(), "READY=1");
    EXPECT_EQ(manager.Next(), "STATUS=recording nothing; 1 of 1 slots free");
    auto const microseconds = [] {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return now.tv_sec * 1000000LL + now.tv_nsec / 1000;
    };
    long long const before = microseconds();
    recorder.Service().Signal(SIGHUP);
    std::string const reloading = manager.Next();
    std::string const head = "RELOADING=1\nMONOTONIC_USEC=";
    ASSERT_TRUE(reloading.starts_with(head)) << reloading;
    long long const said = std::stoll(reloading.substr(head.size()));
    EXPECT_GE(said, before);
    EXPECT_LE(said, microseconds());
    EXPECT_EQ(manager.Next(), "READY=1");
}

} // namespace
} // namespace e2e
