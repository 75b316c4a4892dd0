// Live sources that go and come back, as the service records them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <ctime>
#include <fstream>

#include "Events.h"
#include "RtpSender.h"
#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using workstation::FileDescriptor;

// The clip in two halves of whole packets.
std::string FirstHalf() {
    return Clip().substr(0, Clip().size() / 2 / packetSize * packetSize);
}
std::string SecondHalf() {
    return Clip().substr(FirstHalf().size());
}

class LiveSource : public testing::Test {
protected:
    std::string MakeFifo(std::string const& name) const {
        std::string const path = recorder.Directory() / name;
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }
    // Writes all of it as one writer, which then goes.
    static void WriteTo(std::string const& fifo, std::string const& text) {
        FileDescriptor const writer(open(fifo.c_str(), O_WRONLY | O_CLOEXEC));
        for (std::size_t done = 0; done < text.size();) {
            ssize_t const size = write(writer.Get(), text.data() + done, text.size() - done);
            ASSERT_GT(size, 0);
            done += static_cast<std::size_t>(size);
        }
    }
    std::string Extract(int number) const {
        Outcome const outcome = recorder.Tool({"-x", std::to_string(number)});
        EXPECT_EQ(outcome.status, 0) << outcome;
        return ReadFile(recorder.Extracted(number));
    }
    std::string ServiceLog() const { return WithoutReids(recorder.LogOf("StreamMgr")); }

    Recorder recorder;
};

TEST_F(LiveSource, FifoWhoseWriterGoesIsRecordedFromTheNextWriterIntoTheSameFile) {
    recorder.CreatePool(3);
    std::string const fifo = MakeFifo("camera");
    recorder.StartService({"--record", "1=" + fifo});
    std::string const name = "stream 1: '" + fifo + "' ";
    std::string const gone = name + "is gone: it has ended; trying again\n";
    WriteTo(fifo, FirstHalf());
    ASSERT_TRUE(recorder.Logs(gone));
    WriteTo(fifo, SecondHalf());
    ASSERT_TRUE(recorder.Logs(gone, 2));
    EXPECT_EQ(recorder.StopService(SIGTERM), (Outcome{0, "StreamMgr: ready\n", ""}));
    EXPECT_EQ(ServiceLog(), "started with a pool of 3 files\n"
                            "stream 1: recording REID started\n"
                            "stream 1: recording into stream file 1\n" +
                                gone + name + "is back\n" + gone +
                                "told to quit by signal: Terminated\n"
                                "stream 1: recording REID stopped\n"
                                "stopped\n");
    std::string const stream = Extract(1);
    EXPECT_TRUE(WithoutTicks(stream) == Clip());
    auto const ticks = TicksIn(stream);
    EXPECT_EQ(Numbers(ticks), NumbersFrom(0, ticks.size()));
    EXPECT_TRUE(std::ranges::is_sorted(ticks, {}, &Tick::time));
}

// The clip takes 5 s. Ticks follow the clock of the recorder, and are at most a second ahead of it.
TEST_F(LiveSource, ThatDeliversTooMuchAtOnceHasTheTicksOfTheTimeThatItTook) {
    recorder.CreatePool(1);
    std::string const fifo = MakeFifo("camera");
    recorder.StartService({"--record", "1=" + fifo});
    std::time_t const before = std::time(nullptr);
    WriteTo(fifo, Clip());
    ASSERT_TRUE(recorder.Logs("is gone: it has ended"));
    std::time_t const after = std::time(nullptr);
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    auto const ticks = TicksIn(Extract(1));
    ASSERT_FALSE(ticks.empty());
    EXPECT_GE(ticks.front().time, before);
    EXPECT_LE(ticks.back().time, after);
    EXPECT_LE(static_cast<std::time_t>(ticks.size()), 20 * (1 + after - before + 1) + 1);
}

TEST_F(LiveSource, ThatIsGoneDoesNotDisturbAnother) {
    recorder.CreatePool(3);
    std::string const camera = MakeFifo("camera");
    std::string const flapping = MakeFifo("flapping");
    recorder.StartService({"--record", "1=" + camera, "--record", "2=" + flapping});
    WriteTo(flapping, FirstHalf().substr(0, 100 * packetSize));
    ASSERT_TRUE(recorder.Logs("stream 2: '" + flapping + "' is gone"));
    ASSERT_TRUE(recorder.Logs("stream 2: recording into stream file 1\n"));
    WriteTo(camera, Clip());
    ASSERT_TRUE(recorder.Logs("stream 1: '" + camera + "' is gone"));
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    EXPECT_TRUE(WithoutTicks(Extract(2)) == Clip());
}

TEST_F(LiveSource, FifoThatNoProcessWritesDoesNotDelayTheEnd) {
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + MakeFifo("camera")});
    EXPECT_EQ(recorder.StopService(SIGTERM), (Outcome{0, "StreamMgr: ready\n", ""}));
    EXPECT_EQ(ServiceLog(), "started with a pool of 1 files\n"
                            "told to quit by signal: Terminated\n"
                            "stopped\n");
}

// --- commands ------------------------------------------------------------------------------------

TEST_F(LiveSource, CommandThatEndsIsBegunAgainIntoTheSameFile) {
    recorder.CreatePool(3);
    recorder.StartService({"--record", "1=exec:cat " CLIP_PATH});
    std::string const gone =
        "stream 1: exec:cat is gone: it has ended with status 0; trying again\n";
    ASSERT_TRUE(recorder.Logs(gone, 2));
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    EXPECT_EQ(ServiceLog(), "started with a pool of 3 files\n"
                            "stream 1: recording REID started\n"
                            "stream 1: recording into stream file 1\n" +
                                gone + "stream 1: exec:cat is back\n" + gone +
                                "told to quit by signal: Terminated\n"
                                "stream 1: recording REID stopped\n"
                                "stopped\n");
    std::string const stream = Extract(1);
    EXPECT_TRUE(WithoutTicks(stream) == Clip() + Clip());
    EXPECT_EQ(Numbers(TicksIn(stream)), NumbersFrom(0, TicksIn(stream).size()));
}

TEST_F(LiveSource, LastWordsOfACommandAreLoggedAndItsSecretIsNot) {
    recorder.CreatePool(1);
    recorder.StartService(
        {"--record", "1=exec:PASSWORD=hunter22; echo \"no $PASSWORD\" >&2; exit 5"});
    ASSERT_TRUE(recorder.Logs("trying again"));
    EXPECT_EQ(recorder.StopService(SIGTERM), (Outcome{0, "StreamMgr: ready\n", ""}));
    EXPECT_EQ(ServiceLog(), "started with a pool of 1 files\n"
                            "stream 1: exec:sh: no ***\n"
                            "stream 1: exec:sh is gone: it has ended with status 5; trying again\n"
                            "told to quit by signal: Terminated\n"
                            "stopped\n");
}

TEST_F(LiveSource, MayBeNamedInAFileThatKeepsItFromTheListOfProcesses) {
    recorder.CreatePool(1);
    fs::path const file = recorder.Directory() / "config";
    WriteFile(file, "record = [\"1=exec:cat " CLIP_PATH "; echo hunter22 >/dev/null\"]\n");
    recorder.StartService({"--config", file.string()});
    ASSERT_TRUE(recorder.Logs("stream 1: exec:cat is gone: it has ended with status 0"));
    Outcome const listed = recorder.Tool({"--lproc"});
    // Only a tool of the service's byte order lists it.
    EXPECT_TRUE(ToolIsEmulated() || listed.out.find("--config") != std::string::npos) << listed;
    EXPECT_EQ(listed.out.find("hunter22"), std::string::npos) << listed;
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    EXPECT_EQ(recorder.Log().find("hunter22"), std::string::npos) << recorder.Log();
    EXPECT_TRUE(WithoutTicks(Extract(1)).starts_with(Clip()));
}

// A command that ignores SIGTERM, and a process that it started in a session of its own.
class StubbornCommand : public LiveSource {
protected:
    void SetUp() override {
        recorder.CreatePool(1);
        std::string const pids = MakeFifo("pids");
        FileDescriptor const reader(open(pids.c_str(), O_RDWR | O_CLOEXEC)); // never at its end
        recorder.StartService({"--record", "1=exec:trap '' TERM; cat " CLIP_PATH "; echo $$ >" +
                                               pids + "; setsid sh -c 'echo $$ >" + pids +
                                               "; exec sleep 1000'"});
        for (int count = 0; count < 2; ++count) {
            pid_t const pid = std::stoi(ReadLine(reader));
            processes.emplace_back(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
            ASSERT_TRUE(processes.back()) << pid;
        }
    }
    static std::string ReadLine(FileDescriptor const& reader) {
        std::string line;
        for (char character = ' '; character != '\n'; line += character) {
            EXPECT_EQ(read(reader.Get(), &character, 1), 1);
        }
        return line;
    }
    void CheckEnded(int timeoutMs) const {
        for (auto const& process : processes) {
            pollfd ended{process.Get(), POLLIN, 0};
            EXPECT_EQ(poll(&ended, 1, timeoutMs), 1);
        }
    }

    std::vector<FileDescriptor> processes;
};

TEST_F(StubbornCommand, HasEndedWhenTheServiceHasEnded) {
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    CheckEnded(0);
}

TEST_F(StubbornCommand, EndsWhenTheServiceIsKilled) {
    recorder.StopService(SIGKILL);
    CheckEnded(static_cast<int>(std::chrono::milliseconds(patience).count()));
}

// --- datagrams -----------------------------------------------------------------------------------

// Of 100 datagrams of the clip, each tenth is lost, the others come in pairs that are exchanged,
// each of them twice and with noise between them. After ten seconds of silence others come.
TEST_F(LiveSource, DatagramsAreRecordedInOrderAndOnceAndGoOnAfterASilence) {
    constexpr int count = 100;
    constexpr std::size_t size = 7 * packetSize;
    auto const payload = [clip = Clip()](int number) {
        return clip.substr(static_cast<std::size_t>(number) * size, size);
    };
    RtpSender const sender;
    recorder.CreatePool(1);
    recorder.StartService({"--record", "1=" + sender.Source()});
    ASSERT_TRUE(sender.AwaitReceiver());
    std::string expected;
    auto const sendAll = [&](int first) {
        for (int number = first; number < first + count; number += 2) {
            for (int const one : {number + 1, number}) {
                if (one % 10 != 4) {
                    sender.Send(one, payload(one));
                    sender.Send(one, payload(one));
                    sender.SendNoise();
                }
            }
        }
        for (int number = first; number < first + count; ++number) {
            expected += number % 10 != 4 ? payload(number) : "";
        }
    };
    sender.Send(0, payload(0)); // the first number begins the order
    sendAll(0);
    std::string const name = "stream 1: " + sender.Source() + ' ';
    std::string const gone = name + "is gone: no packet for 10 s; trying again\n";
    ASSERT_TRUE(recorder.Logs(gone));
    sendAll(count);
    ASSERT_TRUE(recorder.Logs(name + "is back\n"));
    ASSERT_TRUE(recorder.Logs(gone, 2));
    EXPECT_EQ(recorder.StopService(SIGTERM).status, 0);
    std::string const stream = Extract(1);
    EXPECT_TRUE(WithoutTicks(stream) == expected);
    EXPECT_EQ(Numbers(TicksIn(stream)), NumbersFrom(0, TicksIn(stream).size()));
    std::string const log = Replaced(ServiceLog(), "sync, [0-9]+ bytes", "sync, N bytes");
    EXPECT_EQ(log, "started with a pool of 1 files\n"
                   "stream 1: recording REID started\n"
                   "stream 1: found sync, N bytes dropped\n"
                   "stream 1: recording into stream file 1\n" +
                       gone + name + "is back\n" + gone +
                       "told to quit by signal: Terminated\n"
                       "stream 1: recording REID stopped\n"
                       "stopped\n");
}

} // namespace
} // namespace e2e
