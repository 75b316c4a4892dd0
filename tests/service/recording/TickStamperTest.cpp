// Ticks have reserved numbers, and times that follow the stream and the clock.
#include "service/recording/TickStamper.h"

#include <gtest/gtest.h>

#include "service/recording/DamagedStream.h"
#include "service/recording/Fakes.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::recording;
using namespace std::chrono_literals;

using ts_test::PcrPacket;

constexpr std::uint64_t ms = ts::PcrClock::unitsPerSecond / 1000;

class TickStamperTest : public testing::Test {
protected:
    void Pass(Bytes const& packets) { stamper_.Pass(packets, now_, block_); }

    // Lets the stream go on for so many seconds, with a PCR each 50 ms.
    void PassSeconds(unsigned int seconds, std::chrono::milliseconds wallStep) {
        for (unsigned int i = 0; i < 20 * seconds; ++i) {
            pcr_ += 50 * ms;
            now_ += wallStep;
            Pass(PcrPacket(pcr_));
        }
    }
    std::vector<TickStamp> Stamps() const {
        std::vector<TickStamp> stamps;
        for (PlacedTick const& tick : block_.ticks) {
            stamps.push_back(tick.stamp);
        }
        return stamps;
    }

    RecordingClock::WallTime now_ = RecordingClock::WallTime() + 1000s;
    std::uint64_t pcr_ = 7777 * ms;
    FakeTicks ticks_{100};
    TickStamper stamper_{ticks_};
    TickedBlock block_;
};

TEST_F(TickStamperTest, NothingIsReservedBeforeTheFirstPacket) {
    stamper_.ReturnRest();
    EXPECT_EQ(ticks_.Reservations(), 0);
    EXPECT_FALSE(ticks_.WereReturned());
}

TEST_F(TickStamperTest, TicksStandWhereTheyAreSaidToBe) {
    Bytes const stream = DamagedStream()
                             .Good(2)
                             .Good(PcrPacket(0))
                             .Good(3)
                             .Good(PcrPacket(40 * ms))
                             .Good(PcrPacket(120 * ms))
                             .All();
    Pass(stream);
    std::vector<std::size_t> places;
    for (PlacedTick const& tick : block_.ticks) {
        places.push_back(tick.offset / ts::tsPacketSize);
    }
    EXPECT_EQ(places, (std::vector<std::size_t>{0, 8, 9}));
    EXPECT_EQ(ts_test::Find(block_.bytes),
              (ts_test::Ticks{{0, 100}, {8 * ts::tsPacketSize, 101}, {9 * ts::tsPacketSize, 102}}));
    EXPECT_EQ(block_.bytes.size(), stream.size() + 3 * ts::tsPacketSize);
}

TEST_F(TickStamperTest, BlockIsAppendedTo) {
    Pass(PcrPacket(0));
    Pass(PcrPacket(50 * ms));
    ASSERT_EQ(block_.ticks.size(), 2U);
    EXPECT_EQ(block_.ticks[1].offset, 2 * ts::tsPacketSize);
}

TEST_F(TickStamperTest, TimeIsThatOfTheFirstPacketAndGoesOnWithTheStream) {
    now_ += 900ms; // ticks carry whole seconds
    Pass(PcrPacket(pcr_));
    PassSeconds(1, 0ms); // the clock stands still, as it seems when a file is read fast
    auto const stamps = Stamps();
    ASSERT_EQ(stamps.size(), 21U);
    EXPECT_EQ(stamps.front(), (TickStamp{100, 1000}));
    EXPECT_EQ(stamps[19], (TickStamp{119, 1000}));
    EXPECT_EQ(stamps[20], (TickStamp{120, 1001}));
}

TEST_F(TickStamperTest, StreamThatPausesIsSetRightByTheTimeOfDay) {
    Pass(PcrPacket(pcr_));
    PassSeconds(1, 50ms);
    now_ += 10s;
    PassSeconds(1, 50ms);
    auto const stamps = Stamps();
    ASSERT_EQ(stamps.size(), 41U);
    EXPECT_EQ(stamps[20], (TickStamp{120, 1001}));
    EXPECT_EQ(stamps[21], (TickStamp{121, 1011}));
    EXPECT_EQ(stamps[40], (TickStamp{140, 1011}));
}

TEST_F(TickStamperTest, LagOfASecondIsLeftAlone) {
    Pass(PcrPacket(pcr_));
    now_ += 1s;
    PassSeconds(2, 50ms);
    auto const stamps = Stamps();
    ASSERT_EQ(stamps.size(), 41U);
    EXPECT_EQ(stamps.back(), (TickStamp{140, 1002}));
}

TEST_F(TickStamperTest, TimeNeverGoesBackwardsWhateverTheClockDoes) {
    Pass(PcrPacket(pcr_));
    for (auto const step : {-3600s, 20s, -3600s, 7200s, 1s, 2s, 3s}) {
        now_ += step;
        PassSeconds(3, 30ms);
    }
    auto const stamps = Stamps();
    for (std::size_t i = 1; i < stamps.size(); ++i) {
        EXPECT_EQ(stamps[i].tick, stamps[i - 1].tick + 1);
        EXPECT_GE(stamps[i].time, stamps[i - 1].time);
    }
}

TEST_F(TickStamperTest, StreamWithoutPcrHasATickNowAndThen) {
    for (int i = 0; i < 100; ++i) {
        Pass(NumberedPacket(1));
        now_ += 50ms;
    }
    EXPECT_EQ(Stamps(), (std::vector<TickStamp>{
                            {100, 1000}, {101, 1001}, {102, 1002}, {103, 1003}, {104, 1004}}));
}

TEST_F(TickStamperTest, NumbersAreReservedByTheMinuteBeforeTheyAreUsed) {
    Pass(PcrPacket(pcr_));
    EXPECT_EQ(ticks_.Reservations(), 1);
    for (unsigned int minute = 0; minute < 3; ++minute) {
        PassSeconds(60, 50ms);
        EXPECT_EQ(ticks_.Reservations(), minute + 2);
        EXPECT_LT(block_.ticks.back().stamp.tick, ticks_.Next());
    }
    stamper_.ReturnRest();
    EXPECT_EQ(ticks_.Next(), block_.ticks.back().stamp.tick + 1);
}

TEST_F(TickStamperTest, LongestStepOfThePcrStaysWithinWhatIsReserved) {
    Pass(PcrPacket(pcr_));
    for (int i = 0; i < 130; ++i) {
        pcr_ += 1000 * ms;
        now_ += 1s;
        Pass(PcrPacket(pcr_));
        ASSERT_LT(block_.ticks.back().stamp.tick, ticks_.Next());
    }
    EXPECT_EQ(block_.ticks.size(), 130U * 20 + 1);
}

TEST_F(TickStamperTest, NumbersMayWrap) {
    FakeTicks ticks(0xFFFFFFF0);
    TickStamper stamper(ticks);
    for (unsigned int i = 0; i <= 1300; ++i) {
        stamper.Pass(PcrPacket(50 * ms * i), now_, block_);
    }
    EXPECT_EQ(block_.ticks.front().stamp.tick, 0xFFFFFFF0);
    EXPECT_EQ(block_.ticks.back().stamp.tick, 1300U - 16);
    stamper.ReturnRest();
    EXPECT_EQ(ticks.Next(), 1300U - 15);
}

TEST_F(TickStamperTest, TicksOfTheSourceAreLeftOut) {
    Pass(DamagedStream()
             .Good(ts_test::TickPacket(7))
             .Good(PcrPacket(0))
             .Good(ts_test::TickPacket(8))
             .Good(PcrPacket(50 * ms))
             .All());
    EXPECT_EQ(ts_test::Find(block_.bytes), (ts_test::Ticks{{0, 100}, {2 * ts::tsPacketSize, 101}}));
    EXPECT_EQ(block_.bytes.size(), 4 * ts::tsPacketSize);
}

} // namespace
