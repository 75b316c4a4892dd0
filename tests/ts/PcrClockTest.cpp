// The time that passes in streams whose PCR counts, wraps and jumps.
#include "ts/PcrClock.h"

#include <gtest/gtest.h>

#include "ts/TestStream.h"

using namespace workstation;
using namespace workstation::ts;
using namespace ts_test;

namespace {

constexpr std::uint64_t ms = PcrClock::unitsPerSecond / 1000;
constexpr std::uint64_t wrap = (std::uint64_t{1} << 33) * 300;

TsPacketView View(Bytes const& packet) {
    return std::span(packet).first<tsPacketSize>();
}

void See(PcrClock& clock, Bytes const& packet) {
    clock.See(View(packet));
}

TEST(PcrClock, ReadsBaseAndExtension) {
    for (std::uint64_t const pcr : {std::uint64_t{0}, std::uint64_t{299}, std::uint64_t{300},
                                    std::uint64_t{0x123456789}, wrap - 1}) {
        EXPECT_EQ(ProgramClockReference(View(PcrPacket(pcr))), pcr);
    }
}

TEST(PcrClock, PacketsWithoutPcrCarryNoPcr) {
    EXPECT_EQ(ProgramClockReference(View(MediaPacket())), std::nullopt);
    Bytes tooShort = PcrPacket(5);
    for (unsigned char length = 0; length < 7; ++length) {
        tooShort[4] = length;
        EXPECT_EQ(ProgramClockReference(View(tooShort)), std::nullopt) << int{length};
    }
    Bytes noFlag = PcrPacket(5);
    noFlag[5] = 0;
    EXPECT_EQ(ProgramClockReference(View(noFlag)), std::nullopt);
    Bytes damaged = PcrPacket(5);
    damaged[1] |= 0x80; // transport_error_indicator
    EXPECT_EQ(ProgramClockReference(View(damaged)), std::nullopt);
}

TEST(PcrClock, RunsFromTheFirstPcrOn) {
    PcrClock clock;
    See(clock, MediaPacket());
    EXPECT_FALSE(clock.Running());
    See(clock, PcrPacket(5000 * ms));
    EXPECT_TRUE(clock.Running());
    EXPECT_EQ(clock.Elapsed(), 0U);
    See(clock, PcrPacket(5040 * ms));
    See(clock, MediaPacket());
    See(clock, PcrPacket(5080 * ms));
    EXPECT_EQ(clock.Elapsed(), 80 * ms);
}

TEST(PcrClock, CountsAcrossTheWrap) {
    PcrClock clock;
    See(clock, PcrPacket(wrap - 30 * ms));
    See(clock, PcrPacket(20 * ms));
    EXPECT_EQ(clock.Elapsed(), 50 * ms);
}

TEST(PcrClock, OtherPidsDoNotCount) {
    PcrClock clock;
    See(clock, PcrPacket(0, false, 0x101));
    See(clock, PcrPacket(700 * ms, false, 0x100));
    See(clock, PcrPacket(40 * ms, false, 0x101));
    EXPECT_EQ(clock.Elapsed(), 40 * ms);
}

//  PCR      0   40   announced: 90   130
//  counted  0   40              40    80
TEST(PcrClock, AnnouncedDiscontinuityCountsNoTime) {
    PcrClock clock;
    See(clock, PcrPacket(0));
    See(clock, PcrPacket(40 * ms));
    See(clock, PcrPacket(90 * ms, true));
    EXPECT_EQ(clock.Elapsed(), 40 * ms);
    See(clock, PcrPacket(130 * ms));
    EXPECT_EQ(clock.Elapsed(), 80 * ms);
}

//  PCR      100   140   5000   5040   200   240
//  counted    0    40     40     80    80   120
TEST(PcrClock, JumpForwardsOrBackwardsCountsNoTime) {
    PcrClock clock;
    for (std::uint64_t const pcr : {100U, 140U, 5000U, 5040U, 200U, 240U}) {
        See(clock, PcrPacket(pcr * ms));
    }
    EXPECT_EQ(clock.Elapsed(), 120 * ms);
}

TEST(PcrClock, StepOfASecondCountsAndALongerOneIsAJump) {
    PcrClock clock;
    See(clock, PcrPacket(0));
    See(clock, PcrPacket(1000 * ms));
    EXPECT_EQ(clock.Elapsed(), 1000 * ms);
    See(clock, PcrPacket(2000 * ms + 1));
    EXPECT_EQ(clock.Elapsed(), 1000 * ms);
}

} // namespace
