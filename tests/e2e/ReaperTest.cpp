// The service's reaper: makes room for the next recording, but not where events are.
#include <gtest/gtest.h>

#include <csignal>

#include "Events.h"

namespace e2e {
namespace {

// The number of the file that was recorded into last.
std::string LastRecorded(std::string const& log) {
    std::string const entry = "recording into stream file ";
    return log.substr(log.rfind(entry) + entry.size(), 1);
}

// The first file is held by an event all the time, the others for a while.
TEST(Reaper, WipesTheOldestFileThatNoEventHolds) {
    Recorder recorder;
    recorder.CreatePool(3);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--fast"});
    ASSERT_TRUE(recorder.Logs(" stopped\n"));
    MakeEvent(recorder, everySince2000);
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    recorder.StartService({"--record", "2=" CLIP_PATH, "--fast", "--loop"});
    ASSERT_TRUE(recorder.Logs("recording into stream file 2\n", 2));
    recorder.WaitForData(2);
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    recorder.StartService();
    auto const reap = [&] {
        EXPECT_EQ(recorder.Tool({"-r"}), (Outcome{0, "Successfully sent reap request\n", ""}));
    };

    Outcome const full = recorder.Tool({"--lsm"});
    EXPECT_EQ(full.status, 0);
    std::string const reid = MakeEvent(recorder, everySince2000);
    reap();
    ASSERT_TRUE(recorder.Logs("reaped 0 dead processes, wiped 0 files\n"));
    EXPECT_EQ(recorder.Tool({"--lsm"}), full);

    EXPECT_EQ(recorder.Tool({"-d", reid}).status, 0);
    reap();
    ASSERT_TRUE(recorder.Logs("reaped 0 dead processes, wiped 1 files\n"));
    std::string const oldest = LastRecorded(recorder.Log()) == "2" ? "3" : "2";
    EXPECT_NE(recorder.Log().find("wiped stream file " + oldest + " of stream 2\n",
                                  recorder.Log().rfind("reap requested")),
              std::string::npos);
    Outcome expected = full;
    expected.out =
        Replaced(full.out, "(\n +" + oldest + " +ControlUnknown +) true( +0 +)98566144\n",
                 "$1false$2       0\n");
    EXPECT_NE(expected.out, full.out) << full;
    EXPECT_EQ(recorder.Tool({"--lsm"}), expected);

    // One file in ten is enough.
    reap();
    ASSERT_TRUE(recorder.Logs("reaped 0 dead processes, wiped 0 files\n", 2));
    EXPECT_EQ(recorder.Tool({"--lsm"}), expected);
}

} // namespace
} // namespace e2e
