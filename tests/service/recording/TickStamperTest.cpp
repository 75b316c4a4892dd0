// Ticks have reserved numbers and stand where they are said to be.
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
    void Pass(Bytes const& packets) {
        stamper_.Pass(packets, clock_.Now(), clock_.WallNow(), block_);
    }

    // Lets the stream go on for so many seconds, with a PCR each 50 ms.
    void PassSeconds(unsigned int seconds) {
        for (unsigned int i = 0; i < 20 * seconds; ++i) {
            pcr_ += 50 * ms;
            clock_.Advance(50ms);
            Pass(PcrPacket(pcr_));
        }
    }

    FakeClock clock_;
    // The tick of that index, from its packet.
    std::optional<StreamMetadata> TickAt(std::size_t index) const {
        std::span const packets(block_.bytes);
        return ts::DecodeSystemTick(
            packets.subspan(block_.ticks[index].offset).first<ts::tsPacketSize>(),
            TsHelper::StreamSystickSystem);
    }

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

TEST_F(TickStamperTest, TickCarriesItsNumberAndTheTimeOfItsArrival) {
    Pass(PcrPacket(pcr_));
    clock_.Advance(3s);
    Pass(PcrPacket(pcr_));
    EXPECT_EQ(block_.ticks[0].stamp, (TickStamp{100, 1000000}));
    EXPECT_EQ(block_.ticks[1].stamp, (TickStamp{101, 1000003}));
    EXPECT_EQ(TickAt(1)->tick, 101U);
    EXPECT_EQ(TickAt(1)->time, 1000003);
}

TEST_F(TickStamperTest, FileThatIsReadFastHasTheTimesOfTheStream) {
    stamper_.FollowStream();
    for (unsigned int i = 0; i <= 1200; ++i) {
        Pass(PcrPacket(50 * ms * i));
    }
    EXPECT_EQ(block_.ticks.back().stamp, (TickStamp{1300, 1000060}));
}

TEST_F(TickStamperTest, SourceThatIsBegunAgainHasATickAtOnce) {
    Pass(PcrPacket(pcr_));
    stamper_.SourceRestarts();
    Pass(PcrPacket(0));
    EXPECT_EQ(block_.ticks.size(), 2U);
}

TEST_F(TickStamperTest, NumbersAreReservedByTheMinuteBeforeTheyAreUsed) {
    Pass(PcrPacket(pcr_));
    EXPECT_EQ(ticks_.Reservations(), 1);
    for (unsigned int minute = 0; minute < 3; ++minute) {
        PassSeconds(60);
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
        clock_.Advance(1s);
        Pass(PcrPacket(pcr_));
        ASSERT_LT(block_.ticks.back().stamp.tick, ticks_.Next());
    }
    EXPECT_EQ(block_.ticks.size(), 130U * 20 + 1);
}

TEST_F(TickStamperTest, NumbersMayWrap) {
    FakeTicks ticks(0xFFFFFFF0);
    TickStamper stamper(ticks);
    stamper.FollowStream();
    for (unsigned int i = 0; i <= 1300; ++i) {
        stamper.Pass(PcrPacket(50 * ms * i), clock_.Now(), clock_.WallNow(), block_);
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
