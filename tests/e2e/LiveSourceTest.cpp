// Live sources that go and come back, as the service records them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>

#include "Events.h"
#include "TransportStream.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

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
        workstation::FileDescriptor const writer(open(fifo.c_str(), O_WRONLY | O_CLOEXEC));
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

} // namespace
} // namespace e2e
