// Ticks are due by the clock of the stream, which is slewed towards that of the recorder.
#include "service/recording/TickClock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "ts/TestStream.h"

namespace {

using namespace workstation::service::recording;
using namespace std::chrono_literals;

using ts_test::Bytes;
using ts_test::PcrPacket;

constexpr std::uint64_t unitsPerMs = workstation::ts::PcrClock::unitsPerSecond / 1000;

class TickClockTest : public testing::Test {
protected:
    // A packet whose PCR is that many milliseconds after the last one.
    Bytes NextPacket(std::int64_t ms) {
        pcr_ += static_cast<std::uint64_t>(ms) * unitsPerMs;
        return PcrPacket(pcr_);
    }

    // Lets a packet arrive. How many ticks are due before it.
    unsigned int Arrive(Bytes const& packet) {
        clock_.PacketsArrive(now_, wallNow_);
        return See(packet);
    }

    // Lets a packet arrive together with the one before it.
    unsigned int See(Bytes const& packet) {
        clock_.See(std::span(packet).first<workstation::ts::tsPacketSize>());
        unsigned int count = 0;
        for (; clock_.IsDue(); ++count) {
            times_.push_back(clock_.Take());
        }
        return count;
    }

    // A second of the recorder's clock, with a packet every 50 ms. The ticks in it.
    unsigned int Second(std::int64_t pcrStepMs = 50) {
        unsigned int count = 0;
        for (int i = 0; i < 20; ++i) {
            Wait(50ms);
            count += Arrive(NextPacket(pcrStepMs));
        }
        return count;
    }

    void Wait(std::chrono::milliseconds time) {
        now_ += time;
        wallNow_ += time;
    }

    TickClock clock_;
    RecordingClock::Time now_ = RecordingClock::Time() + 1h;
    RecordingClock::WallTime wallNow_ = RecordingClock::WallTime() + 1000s;
    std::uint64_t pcr_ = 7777;
    std::vector<int> times_; // of all ticks
};

TEST_F(TickClockTest, FirstTickIsDueBeforeTheFirstPacket) {
    EXPECT_EQ(Arrive(NextPacket(0)), 1U);
    EXPECT_EQ(times_, (std::vector{1000}));
}

TEST_F(TickClockTest, TickIsDueBeforeThePacketWhosePcrHasReachedIt) {
    Arrive(NextPacket(0));
    EXPECT_EQ(See(NextPacket(49)), 0U);
    EXPECT_EQ(See(NextPacket(1)), 1U);
    EXPECT_EQ(See(NextPacket(99)), 1U);
    EXPECT_EQ(See(NextPacket(1)), 1U);
}

TEST_F(TickClockTest, TimesAreThoseOfTheArrival) {
    Arrive(NextPacket(0));
    wallNow_ += 900ms;
    now_ += 900ms;
    Arrive(NextPacket(900));
    Wait(99ms);
    Arrive(NextPacket(50));
    Wait(1ms);
    Arrive(NextPacket(50));
    EXPECT_EQ(times_.size(), 21U);
    EXPECT_EQ(std::ranges::count(times_, 1000), 20);
    EXPECT_EQ(times_.back(), 1001);
}

TEST_F(TickClockTest, MinuteThatArrivesAtOnceHasTheTicksOfASecond) {
    Arrive(NextPacket(0));
    unsigned int count = 0;
    for (int i = 0; i < 1200; ++i) {
        count += See(NextPacket(50));
    }
    EXPECT_EQ(count, 20U);
    EXPECT_EQ(times_, std::vector(21, 1000));

    for (int seconds = 0; seconds < 60; ++seconds) {
        count += Second();
    }
    EXPECT_NEAR(count, 1200, 2);
}

TEST_F(TickClockTest, StreamThatStandsStillIsHeldASecondBack) {
    Arrive(NextPacket(0));
    Wait(1000ms);
    EXPECT_EQ(Arrive(NextPacket(0)), 0U);
    Wait(200ms);
    EXPECT_EQ(Arrive(NextPacket(0)), 4U);
    EXPECT_EQ(times_, (std::vector{1000, 1001, 1001, 1001, 1001}));
}

TEST_F(TickClockTest, AfterAPauseOneTickIsDueAtOnce) {
    Arrive(NextPacket(0));
    Wait(1001ms);
    EXPECT_EQ(Arrive(NextPacket(1000)), 1U);
    Wait(3600s);
    EXPECT_EQ(Arrive(NextPacket(50)), 1U);
    EXPECT_EQ(See(NextPacket(50)), 1U);
    EXPECT_EQ(times_, (std::vector{1000, 1001, 4601, 4601}));
}

TEST_F(TickClockTest, SourceThatIsBegunAgainHasATickAtOnceAndAnotherPcr) {
    Arrive(NextPacket(0));
    Second();
    clock_.SourceRestarts();
    EXPECT_EQ(Arrive(PcrPacket(123456789, false, 0x321)), 1U);
    EXPECT_EQ(See(PcrPacket(123456789 + 100 * unitsPerMs, false, 0x321)), 2U);
}

TEST_F(TickClockTest, StreamWithoutPcrHasTwentyTicksASecond) {
    Arrive(ts_test::MediaPacket());
    unsigned int count = 0;
    for (int i = 0; i < 1000; ++i) {
        Wait(10ms);
        count += Arrive(ts_test::MediaPacket());
    }
    EXPECT_EQ(count, (10000U - 1000) / 50);
}

TEST_F(TickClockTest, ClockThatIsTooFastOrTooSlowIsSlewed) {
    for (std::int64_t const step : {49, 51}) {
        clock_ = TickClock();
        Arrive(NextPacket(0));
        unsigned int count = 0;
        for (int seconds = 0; seconds < 600; ++seconds) {
            count += Second(step);
        }
        EXPECT_NEAR(count, 600 * 20, 10) << step;
    }
}

TEST_F(TickClockTest, ClockThatIsFarTooFastOrTooSlowIsHeld) {
    for (std::int64_t const step : {0, 25, 500}) {
        clock_ = TickClock();
        Arrive(NextPacket(0));
        unsigned int count = 0;
        for (int seconds = 0; seconds < 60; ++seconds) {
            count += Second(step);
        }
        EXPECT_NEAR(count, 60 * 20, 20) << step;
    }
}

TEST_F(TickClockTest, TimeOfDaySetForwardIsFollowedAndTicksGoOn) {
    Arrive(NextPacket(0));
    wallNow_ += 1h;
    EXPECT_EQ(Second(), 20U);
    EXPECT_EQ(times_[1], 1000 + 3600);
    EXPECT_EQ(times_.back(), 1001 + 3600);
}

TEST_F(TickClockTest, TimeOfDaySetBackNeverTakesTicksBack) {
    Arrive(NextPacket(0));
    wallNow_ -= 10min;
    for (int seconds = 0; seconds < 1300; ++seconds) {
        ASSERT_EQ(Second(), 20U);
    }
    EXPECT_TRUE(std::ranges::is_sorted(times_));
    EXPECT_EQ(times_[20 * 600], 1000 + 300);     // half the pace
    EXPECT_EQ(times_.back(), 1000 - 600 + 1300); // that of day again
    EXPECT_EQ(std::ranges::count(times_, times_.back() - 1), 20);
}

TEST_F(TickClockTest, StreamThatIsFollowedSaysTimesToo) {
    clock_.FollowStream();
    Wait(900ms); // ticks carry whole seconds
    Arrive(NextPacket(0));
    for (int i = 0; i < 1200; ++i) {
        EXPECT_EQ(See(NextPacket(50)), 1U);
    }
    for (std::size_t i = 0; i < times_.size(); ++i) {
        ASSERT_EQ(times_[i], 1000 + static_cast<int>(i / 20));
    }
}

TEST_F(TickClockTest, StreamThatIsFollowedIsSetRightWhenItLags) {
    clock_.FollowStream();
    Arrive(NextPacket(0));
    Wait(1050ms);
    EXPECT_EQ(Arrive(NextPacket(0)), 0U);
    Wait(10s);
    EXPECT_EQ(Arrive(NextPacket(0)), 1U);
    EXPECT_EQ(times_, (std::vector{1000, 1011}));
}

} // namespace
