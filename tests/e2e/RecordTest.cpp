// What the service records, which subscribers it notifies, and what it does to the pool.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>

#include "Events.h"
#include "ProcessList.h"
#include "StreamFileTable.h"
#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

// The service printed that it was ready, and nothing else.
Outcome const quietEnd{0, "StreamMgr: ready\n", ""};

// A recording has stopped, and so has a service that ends.
std::string const stopped = " stopped\n";

// A recorder whose service records the clip into stream 1 as fast as it can.
class Record : public testing::Test {
protected:
    // Runs the service until it has recorded the clip.
    void RecordClip() {
        recorder.StartService({"--record", "1=" CLIP_PATH, "--fast"});
        ASSERT_TRUE(recorder.Logs(stopped));
        ASSERT_EQ(recorder.StopService(SIGTERM), quietEnd);
        fs::remove(recorder.LogPath());
    }

    // The data of a stream file, as the tool copies it out.
    std::string Extract(int number) {
        Outcome const outcome = recorder.Tool({"-x", std::to_string(number)});
        EXPECT_EQ(outcome.status, 0) << outcome;
        return ReadFile(recorder.Extracted(number));
    }

    std::string ServiceLog() const { return WithoutReids(recorder.LogOf("StreamMgr")); }

    Recorder recorder;
};

TEST_F(Record, PutsTicksBetweenThePacketsAndAPlayerPlaysIt) {
    recorder.CreatePool(2);
    RecordClip();
    std::string const stream = Extract(1);
    EXPECT_TRUE(WithoutTicks(stream) == Clip());
    auto const ticks = TicksIn(stream);
    EXPECT_EQ(ticks.front().offset, 0U);
    EXPECT_GE(ticks.size(), 96U); // of five seconds
    EXPECT_EQ(Numbers(ticks), NumbersFrom(0, ticks.size()));
    Outcome const played = Play(recorder.Extracted(1));
    EXPECT_EQ(played.status, 0);
    EXPECT_EQ(played.out.substr(0, 9), "h264\naac\n");
    EXPECT_EQ(played.err, "");
}

TEST_F(Record, IsReportedInTheLog) {
    recorder.CreatePool(2);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--fast"});
    ASSERT_TRUE(recorder.Logs(stopped));
    EXPECT_EQ(ServiceLog(),
              "started with a pool of 2 files\n"
              "stream 1: recording REID started\n"
              "stream 1: recording into stream file 1\n"
              "stream 1: '" CLIP_PATH "' has ended, 6664 packets recorded, 0 bytes dropped\n"
              "stream 1: recording REID stopped\n");
}

TEST_F(Record, FromAPipeNotifiesTheSubscriberWhenItStartsAndStops) {
    recorder.CreatePool(2);
    Child& service = recorder.StartService({"--record", "3=-"});
    Child client(recorder.ToolCommand({"-c"}));
    std::string const name = "StreamMgrCli_" + std::to_string(client.Pid());
    std::string const subscription = "StreamMgr: subscription requested by " + name + '\n';
    ASSERT_TRUE(recorder.Logs("free: 188 MB"));
    ASSERT_TRUE(recorder.Logs(subscription, 3));

    service.Type(Clip());
    ASSERT_TRUE(recorder.Logs("buffer: 94 MB"));
    service.EndInput();
    ASSERT_TRUE(recorder.Logs("RecordStopHandler"));
    client.Signal(SIGINT);
    EXPECT_EQ(client.Finish(), (Outcome{255, "", ""}));

    std::string const storage = "StreamMgrCli:N subscription update:\n"
                                "StreamMgrCli:N \ttotal: 188 MB\n"
                                "StreamMgrCli:N \tbuffer: BUFFER MB\n"
                                "StreamMgrCli:N \tevent untransferred in buffer: 0 MB\n"
                                "StreamMgrCli:N \tevent untransferred not in buffer: 0 MB\n"
                                "StreamMgrCli:N \tfree: FREE MB\n";
    auto const figures = [&](char const* buffer, char const* free) {
        return Replaced(Replaced(storage, "BUFFER", buffer), "FREE", free);
    };
    std::string const start = "StreamMgrCli:N RecordStartHandler: Record start, reid REID\n";
    std::string const stop = "StreamMgrCli:N RecordStopHandler: Record stop, reid REID\n";
    std::string const raw = recorder.LogOf(name);
    std::string const log = Replaced(WithoutReids(raw), "StreamMgrCli:[0-9]+", "StreamMgrCli:N");
    EXPECT_EQ(log, figures("0", "188") + start + figures("94", "94") + stop);

    std::string const reid = FirstReid(raw);
    EXPECT_NE(raw.find("Record stop, reid " + reid + '\n'), std::string::npos) << raw;
    EXPECT_NE(recorder.LogOf("StreamMgr").find("stream 3: recording " + reid + " started\n"),
              std::string::npos);
    EXPECT_TRUE(WithoutTicks(Extract(1)) == Clip());
}

TEST_F(Record, InRealTimeTakesTheTimeOfTheClip) {
    recorder.CreatePool(1);
    std::string const part = Clip().substr(0, Clip().size() / 5 / packetSize * packetSize);
    fs::path const source = recorder.Directory() / "second.ts";
    WriteFile(source, part);
    auto const start = std::chrono::steady_clock::now();
    recorder.StartService({"--record", "2=" + source.string()});
    ASSERT_TRUE(recorder.Logs(stopped));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(700));
    std::string const stream = Extract(1);
    EXPECT_TRUE(WithoutTicks(stream) == part);
    EXPECT_EQ(Numbers(TicksIn(stream)), NumbersFrom(0, TicksIn(stream).size()));
}

// --- ticks over several files and starts -------------------------------------------------------

TEST_F(Record, CountsTicksOnAcrossRestarts) {
    recorder.CreatePool(3);
    std::vector<std::uint32_t> numbers;
    for (int number = 1; number <= 3; ++number) {
        RecordClip();
        auto const more = Numbers(TicksIn(Extract(number)));
        numbers.insert(numbers.end(), more.begin(), more.end());
    }
    EXPECT_EQ(numbers, NumbersFrom(0, numbers.size()));
}

TEST_F(Record, UsesNoTickTwiceAfterAKill) {
    recorder.CreatePool(2);
    Child& service = recorder.StartService({"--record", "1=-"});
    service.Type(Clip());
    recorder.WaitForData(1);
    recorder.StopService(SIGKILL);
    RecordClip();
    auto const before = Numbers(TicksIn(Extract(1)));
    auto const after = Numbers(TicksIn(Extract(2)));
    ASSERT_FALSE(before.empty());
    ASSERT_FALSE(after.empty());
    EXPECT_EQ(before, NumbersFrom(0, before.size()));
    EXPECT_EQ(after, NumbersFrom(after.front(), after.size()));
    EXPECT_GT(after.front(), before.back());
}

// Three files, and a fourth slot, which takes the place of the first.
TEST_F(Record, GoesRoundInThePoolWithoutAGapInTheTicks) {
    recorder.CreatePool(3);
    recorder.StartService({"--record", "1=" CLIP_PATH, "--fast", "--loop"});
    ASSERT_TRUE(recorder.Logs("recording into stream file 1\n", 2));
    recorder.WaitForData(1);
    EXPECT_EQ(recorder.StopService(SIGTERM), quietEnd);

    recorder.StartService();
    Outcome const sent{0, "Successfully sent file chain request\n", ""};
    EXPECT_EQ(recorder.Tool({"-f", "0"}), sent);
    ASSERT_TRUE(recorder.Logs("  file ", 4));
    EXPECT_EQ(FilesOfChain(recorder.Log()), (std::vector{1, 2, 3, 1}));
    fs::remove(recorder.LogPath());
    EXPECT_EQ(recorder.Tool({"-F", "0"}), sent);
    ASSERT_TRUE(recorder.Logs("  file ", 3));
    auto const chain = FilesOfChain(recorder.Log());
    EXPECT_EQ(chain, (std::vector{2, 3, 1}));

    std::vector<Tick> ticks;
    for (int const number : chain) {
        auto const more = TicksShown(recorder.Tool({"--tickinfo", std::to_string(number)}).out);
        ASSERT_FALSE(more.empty()) << "file " << number;
        ticks.insert(ticks.end(), more.begin(), more.end());
    }
    EXPECT_EQ(Numbers(ticks), NumbersFrom(ticks.front().number, ticks.size()));
}

// --- the shared tables while recording ---------------------------------------------------------

TEST_F(Record, IsSeenInTheSharedTables) {
    recorder.CreatePool(2);
    Child& service = recorder.StartService({"--record", "2=-"});
    service.Type(Clip());
    recorder.WaitForData(1);
    Outcome listed = recorder.Tool({"--lsmi"});
    listed.out = Replaced(listed.out, "   0 +[1-9][0-9]+\n", "   0 SIZE\n");
    std::string const table = StreamFileTable({{1, "ControlStream2", "false", 0, 1000}}, 2);
    EXPECT_EQ(listed, (Outcome{0, Replaced(table, "   0 +1000\n", "   0 SIZE\n"), ""}));

    Words const arguments{"--record", "2=-"};
    EXPECT_EQ(ListProcesses(recorder),
              (Outcome{0, ListedService(service.Pid(), arguments, {1}), ""}));
    service.EndInput();
    ASSERT_TRUE(recorder.Logs(stopped));
    EXPECT_EQ(ListProcesses(recorder), (Outcome{0, ListedService(service.Pid(), arguments), ""}));
}

// --- sources that are not as they should be ----------------------------------------------------

TEST_F(Record, OfWhatIsNoTransportStreamTakesNoFile) {
    recorder.CreatePool(1);
    fs::path const source = recorder.Directory() / "noise";
    WriteFile(source, std::string(2 * 1024 * 1024, 'x'));
    recorder.StartService({"--record", "1=" + source.string(), "--fast"});
    ASSERT_TRUE(recorder.Logs("is no transport stream\n"));
    EXPECT_EQ(recorder.Tool({"-p"}).status, 0);
    ASSERT_TRUE(recorder.Logs("ping"));
    EXPECT_EQ(Replaced(ServiceLog(), "_[0-9]+", "_PID"),
              "started with a pool of 1 files\n"
              "stream 1: no transport stream in the first 1048576 bytes of '" +
                  source.string() + "'\nstream 1: '" + source.string() +
                  "' is no transport stream\nping requested by StreamMgrCli_PID\n");
    EXPECT_EQ(recorder.Tool({"-x", "1"}).err,
              "zero-length file.  File was not copied.\nStated file length: 0  copied: 0\n");
}

TEST_F(Record, OfAMissingFileIsReportedAndTheServiceServes) {
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=/no/such/file"});
    ASSERT_TRUE(recorder.Logs("stream 1: cannot open '/no/such/file': No such file or directory"));
    EXPECT_EQ(recorder.Tool({"-p"}).status, 0);
}

TEST_F(Record, OfASourceThatStopsInAPacketKeepsTheWholePackets) {
    recorder.CreatePool(1);
    std::string const whole = Clip().substr(0, 1000 * packetSize);
    fs::path const source = recorder.Directory() / "cut.ts";
    WriteFile(source, whole + Clip().substr(whole.size(), 100));
    recorder.StartService({"--record", "1=" + source.string(), "--fast"});
    ASSERT_TRUE(recorder.Logs(stopped));
    EXPECT_NE(ServiceLog().find("stream 1: '" + source.string() + "' stops in a packet\n"),
              std::string::npos)
        << ServiceLog();
    EXPECT_TRUE(WithoutTicks(Extract(1)) == whole);
}

TEST_F(Record, OfASourceThatLosesSyncKeepsTheWholePacketsAroundTheGap) {
    recorder.CreatePool(1);
    std::string const clip = Clip();
    constexpr std::size_t before = 3000 * packetSize;
    fs::path const source = recorder.Directory() / "gap.ts";
    WriteFile(source, clip.substr(0, before + 40) + clip.substr(before + 140));
    recorder.StartService({"--record", "1=" + source.string(), "--fast"});
    ASSERT_TRUE(recorder.Logs(stopped));
    EXPECT_EQ(ServiceLog(), "started with a pool of 1 files\n"
                            "stream 1: recording REID started\n"
                            "stream 1: recording into stream file 1\n"
                            "stream 1: lost sync and found it again, 88 bytes dropped\n"
                            "stream 1: '" +
                                source.string() +
                                "' has ended, 6663 packets recorded, 88 bytes dropped\n"
                                "stream 1: recording REID stopped\n");
    EXPECT_TRUE(WithoutTicks(Extract(1)) ==
                clip.substr(0, before) + clip.substr(before + packetSize));
}

// --- no room -----------------------------------------------------------------------------------

TEST_F(Record, WaitsWhileEventsHoldAllFilesAndGoesOnWhenOneIsDeleted) {
    recorder.CreatePool(1);
    RecordClip();
    recorder.StartService();
    std::string const reid = MakeEvent(recorder, everySince2000);
    recorder.StopService(SIGTERM);
    fs::remove(recorder.LogPath());
    std::string const held = Extract(1);

    recorder.StartService({"--record", "1=" CLIP_PATH, "--fast"});
    ASSERT_TRUE(recorder.Logs(
        "stream 1: no file to record into: events hold them all, or others write them\n"));
    EXPECT_TRUE(Extract(1) == held);
    EXPECT_EQ(recorder.Tool({"-d", reid}), (Outcome{0, "Successfully sent delete request\n", ""}));
    ASSERT_TRUE(recorder.Logs(stopped));
    std::string const stream = Extract(1);
    EXPECT_TRUE(WithoutTicks(stream) == Clip());
    EXPECT_EQ(TicksIn(stream).front().number, TicksIn(held).back().number + 1);
}

} // namespace
} // namespace e2e
