// What a recording states about itself while it goes on.
#include "service/recording/RecordingStatus.h"

#include <gtest/gtest.h>

#include <thread>

#include "service/recording/Recording.h"
#include "service/recording/ScriptedSource.h"
#include "service/recording/TestDirectory.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service::recording;
using State = status::StreamStatus::State;

class RecordingStatusTest : public testing::Test {
protected:
    void Record(RecordingSettings const& settings = {2, "/dev/camera"}) {
        recording_.emplace(
            settings, target_, ticks_, clock_, [](auto const&...) {}, stop_, status_);
        settings.source == "/dev/camera" ? recording_->Run(source_) : recording_->Run();
    }
    status::StreamStatus Now() const { return status_.At(clock_.Now()); }

    TestDirectory directory_;
    service::recording::StopEvent stop_;
    RecordingStatus status_{{2, "exec:camera password"}};
    FakeClock clock_;
    FakeTicks ticks_{500};
    FakeTarget target_{stop_};
    ScriptedSource source_{clock_, stop_};
    std::optional<Recording> recording_;
};

TEST_F(RecordingStatusTest, BeforeTheRecordingIsWaiting) {
    EXPECT_EQ(Now(),
              (status::StreamStatus{2, "exec:camera", false, State::waiting, {}, 0, 0, 0, {}, ""}));
}

// Garbage for 10 s, then packets, then the end, and a beginning that fails.
TEST_F(RecordingStatusTest, OfALiveSourceFollowsWhatItDoes) {
    DamagedStream stream;
    stream.Good(2000); // a block is written while the source delivers
    std::vector<status::StreamStatus> seen;
    target_.OnWrite([&] { seen.push_back(Now()); });
    source_.DeliversGarbage().Ends(stream.All()).CannotBegin("No such device");
    Record();
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen[0].state, State::recording);
    EXPECT_TRUE(seen[0].isLive);
    EXPECT_EQ(seen[0].restarts, 1U);
    EXPECT_EQ(seen[0].droppedBytes, 10000U);
    EXPECT_EQ(seen[0].lastPacket, 1000010);
    EXPECT_GT(seen[0].bitsPerSecond, 0U);
    EXPECT_EQ(
        status_.At(clock_.Now() + BitRate::span),
        (status::StreamStatus{2, "exec:camera", true, State::ended, 1000010, 0, 3, 10000, {}, ""}));
}

TEST_F(RecordingStatusTest, IsWaitingWhileTheSourceIsGone) {
    DamagedStream stream;
    stream.Good(100);
    std::vector<State> states;
    struct Watched : FakeClock {
        void WaitUntil(Time time) override {
            onWait();
            FakeClock::WaitUntil(time);
        }
        std::function<void()> onWait;
    } clock;
    clock.onWait = [&] { states.push_back(status_.At(clock.Now()).state); };
    ScriptedSource source(clock, stop_);
    source.Ends(stream.All()).Ends(stream.All());
    Recording(
        {2, "/dev/camera"}, target_, ticks_, clock, [](auto const&...) {}, stop_, status_)
        .Run(source);
    ASSERT_FALSE(states.empty());
    for (State const state : states) {
        EXPECT_EQ(state, State::waiting);
    }
}

TEST_F(RecordingStatusTest, OfAFileEndsWithoutAProblem) {
    DamagedStream stream;
    stream.Good(10).Bad(Bytes(100, 1)).Good(10);
    Record({2, directory_.Write("clip.ts", stream.All()), true});
    auto const status = Now();
    EXPECT_EQ(status.state, State::ended);
    EXPECT_FALSE(status.isLive);
    EXPECT_EQ(status.restarts, 0U);
    EXPECT_GT(status.droppedBytes, 0U);
    EXPECT_EQ(status.problem, "");
}

TEST_F(RecordingStatusTest, OfASourceThatIsMissingHasTheReason) {
    Record({2, "/nowhere"});
    EXPECT_EQ(Now().state, State::ended);
    EXPECT_EQ(Now().problem, "cannot open '/nowhere': No such file or directory");
}

TEST_F(RecordingStatusTest, OfARecordingThatFailsHasTheReason) {
    DamagedStream stream;
    stream.Good(2000);
    target_.OnWrite([] { throw std::runtime_error("the disk is gone"); });
    source_.Ends(stream.All());
    Record();
    EXPECT_EQ(Now().state, State::ended);
    EXPECT_EQ(Now().problem, "recording failed: the disk is gone");
}

// For the thread sanitizer.
TEST_F(RecordingStatusTest, IsReadByOthersWhileItChanges) {
    {
        std::jthread const reader([this](std::stop_token const& stop) {
            while (!stop.stop_requested()) {
                static_cast<void>(status_.At({}));
            }
        });
        for (int i = 0; i < 1000; ++i) {
            status_.HasPackets(188, {}, {});
            status_.HasProblem(std::string(100, 'x'));
            status_.RecordsInto(i);
        }
    }
    EXPECT_EQ(Now().slot, 999);
}

} // namespace
