// A recorder works in its own thread and stops at once, whatever it waits for.
#include "service/recording/RecordingThread.h"

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
class RecordingThreadTest : public testing::Test {
protected:
    RecordingThread MakeThread(RecordingSettings settings) {
        return {std::move(settings),
                target_,
                ticks_,
                clock_,
                [this](std::string const& text, workstation::log::Severity) {
                    std::lock_guard const lock(mutex_);
                    lines_.push_back(text);
                    reported_.notify_all();
                },
                stop_,
                status_};
    }
    void AwaitLine() {
        std::unique_lock lock(mutex_);
        ASSERT_TRUE(
            reported_.wait_for(lock, std::chrono::seconds(60), [this] { return !lines_.empty(); }));
    }
    static void WriteAll(FileDescriptor const& pipe, Bytes const& bytes) {
        ASSERT_EQ(write(pipe.Get(), bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
    }
    static FileDescriptor OpenWriter(std::string const& fifo) {
        return FileDescriptor(open(fifo.c_str(), O_RDWR | O_CLOEXEC));
    }

    TestDirectory directory_;
    StopEvent stop_;
    RecordingStatus status_{{2, ""}};
    SystemRecordingClock clock_{stop_};
    FakeTicks ticks_{1};
    FakeTarget target_{stop_};
    std::mutex mutex_;
    std::condition_variable reported_;
    std::vector<std::string> lines_;
};

TEST_F(RecordingThreadTest, NeverStartedStops) {
    RecordingThread thread = MakeThread({2, "-"});
    thread.Stop();
    thread.Stop();
    EXPECT_EQ(target_.Calls(), "");
}

TEST_F(RecordingThreadTest, SourceThatNoProcessWritesIsLeft) {
    RecordingThread thread = MakeThread({2, directory_.Fifo("pipe")});
    thread.Start();
    thread.Stop();
    EXPECT_EQ(target_.Calls(), "");
    EXPECT_TRUE(lines_.empty());
}

TEST_F(RecordingThreadTest, FewPacketsOfALiveSourceAreSeenSoonAndItsSilenceIsLeft) {
    std::string const path = directory_.Fifo("pipe");
    FileDescriptor const writer = OpenWriter(path);
    RecordingThread thread = MakeThread({2, path});
    thread.Start();
    auto const stream = DamagedStream().Good(50);
    WriteAll(writer, stream.All());
    target_.Await("write");
    thread.Stop();
    EXPECT_EQ(target_.Calls(), "begin write*2 end"); // the last packet at the stop
    EXPECT_TRUE(target_.Packets() == stream.All());
    EXPECT_TRUE(ticks_.WereReturned());
}

TEST_F(RecordingThreadTest, TargetThatWaitsToBeginIsLeft) {
    target_.WaitToBegin();
    RecordingThread thread =
        MakeThread({2, directory_.Write("clip.ts", DamagedStream().Good(5000).All()), true});
    thread.Start();
    target_.Await("begin");
    thread.Stop();
    EXPECT_EQ(target_.Calls(), "begin write end");
}

TEST_F(RecordingThreadTest, TargetThatWaitsToWriteIsLeft) {
    target_.WaitToWrite();
    RecordingThread thread =
        MakeThread({2, directory_.Write("clip.ts", DamagedStream().Good(5000).All()), true});
    thread.Start();
    target_.Await("write");
    thread.Stop();
    EXPECT_EQ(target_.Calls(), "begin write end");
}

TEST_F(RecordingThreadTest, FileInRealTimeIsLeft) {
    DamagedStream stream;
    for (std::uint64_t second = 0; second < 3600; ++second) {
        stream.Good(ts_test::PcrPacket(second * 1000 * ms));
    }
    RecordingThread thread = MakeThread({2, directory_.Write("clip.ts", stream.All())});
    thread.Start();
    target_.Await("write");
    thread.Stop();
    EXPECT_EQ(target_.Calls(), "begin write end");
    EXPECT_TRUE(ticks_.WereReturned());
}

TEST_F(RecordingThreadTest, LoopAsFastAsItCanBeIsLeft) {
    RecordingThread thread =
        MakeThread({2, directory_.Write("clip.ts", DamagedStream().Good(5000).All()), true, true});
    thread.Start();
    target_.Await("write");
    thread.Stop();
    EXPECT_EQ(target_.Calls().substr(0, 11), "begin write");
}

// In random bytes what looks like packets is found now and then.
TEST_F(RecordingThreadTest, EndlessSourceThatIsNoTransportStreamIsReportedOnceAndLeft) {
    RecordingThread thread = MakeThread({2, "/dev/zero"});
    thread.Start();
    AwaitLine();
    thread.Stop();
    EXPECT_EQ(lines_,
              std::vector<std::string>(
                  {"stream 2: no transport stream in the first 1048576 bytes of '/dev/zero'"}));
    EXPECT_EQ(target_.Calls(), "");
}

TEST_F(RecordingThreadTest, DestructorStops) {
    {
        RecordingThread thread = MakeThread({2, directory_.Fifo("pipe")});
        thread.Start();
    }
    EXPECT_EQ(target_.Calls(), "");
}

} // namespace
