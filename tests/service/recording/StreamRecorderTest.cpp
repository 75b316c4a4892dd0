// A recorder works in its own thread and stops at once, whatever it waits for.
#include "service/recording/StreamRecorder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include "service/recording/DamagedStream.h"
#include "service/recording/Fakes.h"
#include "service/recording/TestDirectory.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::recording;

constexpr std::uint64_t ms = ts::PcrClock::unitsPerSecond / 1000;

// Where a stop is not prompt, these tests wait for a minute or for ever, and fail.
class StreamRecorderTest : public testing::Test {
protected:
    StreamRecorder MakeRecorder(RecordingSettings settings) {
        return {std::move(settings), target_, ticks_, clock_, [this](std::string const& text) {
                    std::lock_guard const lock(mutex_);
                    lines_.push_back(text);
                    told_.notify_all();
                }};
    }
    void AwaitLine() {
        std::unique_lock lock(mutex_);
        ASSERT_TRUE(
            told_.wait_for(lock, std::chrono::seconds(60), [this] { return !lines_.empty(); }));
    }
    static void WriteAll(FileDescriptor const& pipe, Bytes const& bytes) {
        ASSERT_EQ(write(pipe.Get(), bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
    }
    static FileDescriptor OpenWriter(std::string const& fifo) {
        return FileDescriptor(open(fifo.c_str(), O_RDWR | O_CLOEXEC));
    }

    TestDirectory directory_;
    SystemRecordingClock clock_;
    FakeTicks ticks_{1};
    FakeTarget target_;
    std::mutex mutex_;
    std::condition_variable told_;
    std::vector<std::string> lines_;
};

TEST_F(StreamRecorderTest, NeverStartedStops) {
    StreamRecorder recorder = MakeRecorder({2, "-"});
    recorder.Stop();
    recorder.Stop();
    EXPECT_EQ(target_.Calls(), "");
}

TEST_F(StreamRecorderTest, SourceThatNobodyWritesIsLeft) {
    StreamRecorder recorder = MakeRecorder({2, directory_.Fifo("pipe")});
    recorder.Start();
    recorder.Stop();
    EXPECT_EQ(target_.Calls(), "");
    EXPECT_TRUE(lines_.empty());
}

TEST_F(StreamRecorderTest, FewPacketsOfALiveSourceAreSeenSoonAndItsSilenceIsLeft) {
    std::string const path = directory_.Fifo("pipe");
    FileDescriptor const writer = OpenWriter(path);
    StreamRecorder recorder = MakeRecorder({2, path});
    recorder.Start();
    auto const stream = DamagedStream().Good(50);
    WriteAll(writer, stream.All());
    target_.Await("write");
    recorder.Stop();
    EXPECT_EQ(target_.Calls(), "begin write end");
    EXPECT_EQ(target_.Bytes().size(), (1 + 49) * ts::tsPacketSize); // the last one may be damaged
    EXPECT_TRUE(ticks_.WereReturned());
}

TEST_F(StreamRecorderTest, TargetThatWaitsToBeginIsLeft) {
    target_.WaitToBegin();
    StreamRecorder recorder =
        MakeRecorder({2, directory_.Write("clip.ts", DamagedStream().Good(5000).All()), true});
    recorder.Start();
    target_.Await("begin");
    recorder.Stop();
    EXPECT_EQ(target_.Calls(), "begin end");
}

TEST_F(StreamRecorderTest, TargetThatWaitsToWriteIsLeft) {
    target_.WaitToWrite();
    StreamRecorder recorder =
        MakeRecorder({2, directory_.Write("clip.ts", DamagedStream().Good(5000).All()), true});
    recorder.Start();
    target_.Await("write");
    recorder.Stop();
    EXPECT_EQ(target_.Calls(), "begin write end");
}

TEST_F(StreamRecorderTest, FileInRealTimeIsLeft) {
    DamagedStream stream;
    for (std::uint64_t second = 0; second < 3600; ++second) {
        stream.Good(ts_test::PcrPacket(second * 1000 * ms));
    }
    StreamRecorder recorder = MakeRecorder({2, directory_.Write("clip.ts", stream.All())});
    recorder.Start();
    target_.Await("write");
    recorder.Stop();
    EXPECT_EQ(target_.Calls(), "begin write end");
    EXPECT_TRUE(ticks_.WereReturned());
}

TEST_F(StreamRecorderTest, LoopAsFastAsItCanBeIsLeft) {
    StreamRecorder recorder = MakeRecorder(
        {2, directory_.Write("clip.ts", DamagedStream().Good(5000).All()), true, true});
    recorder.Start();
    target_.Await("write");
    recorder.Stop();
    EXPECT_EQ(target_.Calls().substr(0, 11), "begin write");
}

// In random bytes what looks like packets is found now and then.
TEST_F(StreamRecorderTest, EndlessSourceThatIsNoTransportStreamIsToldOnceAndLeft) {
    StreamRecorder recorder = MakeRecorder({2, "/dev/zero"});
    recorder.Start();
    AwaitLine();
    recorder.Stop();
    EXPECT_EQ(lines_,
              std::vector<std::string>(
                  {"stream 2: no transport stream in the first 1048576 bytes of '/dev/zero'"}));
    EXPECT_EQ(target_.Calls(), "");
}

TEST_F(StreamRecorderTest, DestructorStops) {
    {
        StreamRecorder recorder = MakeRecorder({2, directory_.Fifo("pipe")});
        recorder.Start();
    }
    EXPECT_EQ(target_.Calls(), "");
}

} // namespace
