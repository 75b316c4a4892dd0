// The time of day follows the system's, and never goes back.
#include "service/recording/TimeOfDay.h"

#include <gtest/gtest.h>

namespace {

using namespace workstation::service::recording;
using namespace std::chrono_literals;

class TimeOfDayTest : public testing::Test {
protected:
    // The time of day, counted from the first one, after the clocks have gone on.
    RecordingClock::WallTime::duration After(std::chrono::milliseconds steady,
                                             std::chrono::milliseconds wall) {
        steady_ += steady;
        wall_ += wall;
        return time_.At(steady_, wall_) - start_;
    }

    RecordingClock::WallTime const start_ = RecordingClock::WallTime() + 1000000s;
    RecordingClock::Time steady_ = RecordingClock::Time() + 1h;
    RecordingClock::WallTime wall_ = start_;
    TimeOfDay time_;
};

TEST_F(TimeOfDayTest, IsThatOfTheSystem) {
    EXPECT_EQ(After(0ms, 0ms), 0s);
    EXPECT_EQ(After(1500ms, 1500ms), 1500ms);
    EXPECT_EQ(After(1500ms, 1501ms), 3001ms);
}

TEST_F(TimeOfDayTest, StepForwardIsFollowedAtOnce) {
    After(0ms, 0ms);
    EXPECT_EQ(After(10ms, 1h), 1h);
    EXPECT_EQ(After(10ms, 10ms), 1h + 10ms);
}

TEST_F(TimeOfDayTest, AfterAStepBackItAdvancesAtHalfThePaceUntilTheSystemHasCaughtUp) {
    After(0ms, 0ms);
    EXPECT_EQ(After(0ms, -1h), 0s);
    EXPECT_EQ(After(10s, 10s), 5s);
    EXPECT_EQ(After(2h - 12s, 2h - 12s), 1h - 1s);
    EXPECT_EQ(After(2s, 2s), 1h);
    EXPECT_EQ(After(2s, 2s), 1h + 2s);
}

TEST_F(TimeOfDayTest, StepBackThatIsTakenBackIsForgotten) {
    After(0ms, 0ms);
    EXPECT_EQ(After(10s, -1h), 5s);
    EXPECT_EQ(After(10s, 1h + 20s), 20s);
}

} // namespace
