// Packets are due when their PCR says so.
#include "service/recording/RealTimePacer.h"

#include <gtest/gtest.h>

#include "service/recording/DamagedStream.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::recording;
using namespace std::chrono_literals;

using ts_test::PcrPacket;

constexpr std::uint64_t ms = ts::PcrClock::unitsPerSecond / 1000;
constexpr std::uint64_t wrap = (std::uint64_t{1} << 33) * 300;

class RealTimePacerTest : public testing::Test {
protected:
    // How long after `now` the block that begins with this packet is due.
    std::chrono::nanoseconds Wait(Bytes const& packet) {
        auto const block = pacer_.Next(packet, now_);
        EXPECT_EQ(block.size, packet.size());
        return block.due - now_;
    }

    RecordingClock::Time now_ = RecordingClock::Time() + 100h;
    RealTimePacer pacer_;
};

TEST_F(RealTimePacerTest, BlockReachesToTheNextPcr) {
    Bytes const stream = DamagedStream()
                             .Good(3)
                             .Good(PcrPacket(0))
                             .Good(2)
                             .Good(PcrPacket(40 * ms))
                             .Good(PcrPacket(80 * ms))
                             .Good(4)
                             .All();
    std::span<unsigned char const> rest = stream;
    std::vector<std::size_t> packets;
    std::vector<std::chrono::nanoseconds> waits;
    while (!rest.empty()) {
        auto const block = pacer_.Next(rest, now_);
        packets.push_back(block.size / ts::tsPacketSize);
        waits.emplace_back(block.due - now_);
        rest = rest.subspan(block.size);
    }
    EXPECT_EQ(packets, (std::vector<std::size_t>{3, 3, 1, 5}));
    EXPECT_EQ(waits, (std::vector<std::chrono::nanoseconds>{0ms, 0ms, 40ms, 80ms}));
}

TEST_F(RealTimePacerTest, TimeThatHasPassedIsNotWaitedFor) {
    EXPECT_EQ(Wait(PcrPacket(5000 * ms)), 0ms);
    now_ += 30ms;
    EXPECT_EQ(Wait(PcrPacket(5040 * ms)), 10ms);
    now_ += 30ms;
    EXPECT_EQ(Wait(PcrPacket(5080 * ms)), 20ms);
}

TEST_F(RealTimePacerTest, StreamThatIsALittleLateCatchesUp) {
    EXPECT_EQ(Wait(PcrPacket(0)), 0ms);
    now_ += 1040ms;
    EXPECT_EQ(Wait(PcrPacket(40 * ms)), -1000ms);
    EXPECT_EQ(Wait(PcrPacket(940 * ms)), -100ms);
    EXPECT_EQ(Wait(PcrPacket(1140 * ms)), 100ms);
}

TEST_F(RealTimePacerTest, StreamThatIsMoreThanASecondLateGoesOnFromNow) {
    EXPECT_EQ(Wait(PcrPacket(0)), 0ms);
    now_ += 1041ms;
    EXPECT_EQ(Wait(PcrPacket(40 * ms)), 0ms);
    EXPECT_EQ(Wait(PcrPacket(80 * ms)), 40ms);
}

TEST_F(RealTimePacerTest, PcrMayWrap) {
    EXPECT_EQ(Wait(PcrPacket(wrap - 10 * ms)), 0ms);
    EXPECT_EQ(Wait(PcrPacket(30 * ms)), 40ms);
}

TEST_F(RealTimePacerTest, JumpIsNotWaitedFor) {
    for (std::uint64_t const jump : {3600000 * ms, 100 * ms, wrap / 2}) {
        RealTimePacer pacer;
        EXPECT_EQ(pacer.Next(PcrPacket(600000 * ms), now_).due, now_);
        EXPECT_EQ(pacer.Next(PcrPacket(600040 * ms), now_).due, now_ + 40ms);
        EXPECT_EQ(pacer.Next(PcrPacket(jump), now_).due, now_ + 40ms);
        EXPECT_EQ(pacer.Next(PcrPacket(jump + 40 * ms), now_).due, now_ + 80ms);
    }
}

TEST_F(RealTimePacerTest, AnnouncedDiscontinuityIsNotWaitedFor) {
    EXPECT_EQ(Wait(PcrPacket(0)), 0ms);
    EXPECT_EQ(Wait(PcrPacket(500 * ms, true)), 0ms);
    EXPECT_EQ(Wait(PcrPacket(540 * ms)), 40ms);
}

TEST_F(RealTimePacerTest, WithoutPcrEverythingIsDue) {
    EXPECT_EQ(Wait(NumberedPacket(1)), 0ms);
    now_ += 5s;
    EXPECT_EQ(Wait(DamagedStream().Good(1000).All()), 0ms);
}

TEST_F(RealTimePacerTest, PcrThatNoLongerComesHoldsNothingUp) {
    EXPECT_EQ(Wait(PcrPacket(0)), 0ms);
    EXPECT_EQ(Wait(PcrPacket(40 * ms)), 40ms);
    now_ += 40ms;
    EXPECT_LE(Wait(DamagedStream().Good(1000).All()), 0ms);
    now_ += 5s;
    EXPECT_LE(Wait(NumberedPacket(1)), 0ms);
}

TEST_F(RealTimePacerTest, DayOfStreamTakesADay) {
    constexpr std::uint64_t secondsOfADay = 86400;
    for (std::uint64_t time = 0; time <= secondsOfADay; ++time) {
        now_ += Wait(PcrPacket(wrap - 3600 * ts::PcrClock::unitsPerSecond +
                               time * ts::PcrClock::unitsPerSecond));
    }
    EXPECT_EQ(now_ - RecordingClock::Time(), 124h);
}

} // namespace
