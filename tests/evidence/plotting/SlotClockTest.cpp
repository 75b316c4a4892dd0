// Ticks, gaps and bit rates of a slot.
#include "evidence/plotting/SlotClock.h"

#include <gtest/gtest.h>

#include "../TestSlot.h"
#include "evidence/plotting/ClockScript.h"
#include "support/FailureOf.h"
#include "ts/TestStream.h"

namespace workstation::evidence::plotting {
namespace {

// A packet of media and a tick, 20 times a second: 60160 bits each second.
SlotClock ClockOf(ts_test::TestStream& stream) {
    TestSlot slot(stream.Data());
    return ReadSlotClock(3, slot, [](std::uint64_t) {});
}

void AddTicks(ts_test::TestStream& stream, unsigned int first, unsigned int last) {
    for (unsigned int tick = first; tick <= last; ++tick) {
        stream.Tick(tick).Media(1);
    }
}

TEST(SlotClock, HasEachTickWithItsPlace) {
    ts_test::TestStream stream;
    AddTicks(stream, 1000, 1079);
    auto const clock = ClockOf(stream);
    ASSERT_EQ(clock.ticks.size(), 80U);
    EXPECT_EQ(clock.ticks[3], (PlacedTick{1128, 1003, 50}));
    EXPECT_TRUE(clock.gaps.empty());
}

TEST(SlotClock, HasABitRateForEachSecond) {
    ts_test::TestStream stream;
    AddTicks(stream, 1000, 1019);
    for (unsigned int tick = 1020; tick < 1040; ++tick) {
        stream.Tick(tick).Media(3);
    }
    AddTicks(stream, 1040, 1059);
    auto const clock = ClockOf(stream);
    ASSERT_EQ(clock.rates.size(), 3U);
    EXPECT_EQ(clock.rates[0].bitsPerSecond, 60160U);
    EXPECT_EQ(clock.rates[1].bitsPerSecond, 120320U);
    EXPECT_EQ(clock.rates[2].bitsPerSecond, 60160U);
    EXPECT_EQ(clock.rates[1].from, 51);
    EXPECT_EQ(clock.rates[1].to, 52);
}

TEST(SlotClock, HasNoBitRateAcrossAGap) {
    ts_test::TestStream stream;
    AddTicks(stream, 1000, 1019);
    AddTicks(stream, 1100, 1119);
    auto const clock = ClockOf(stream);
    ASSERT_EQ(clock.gaps.size(), 1U);
    EXPECT_EQ(clock.gaps[0].before.tick, 1019U);
    EXPECT_EQ(clock.gaps[0].after.tick, 1100U);
    ASSERT_EQ(clock.rates.size(), 2U);
    EXPECT_EQ(clock.rates[0].to, 51);
    EXPECT_EQ(clock.rates[1].from, 55);
    EXPECT_EQ(clock.rates[0].bitsPerSecond, 60160U);
    EXPECT_EQ(clock.rates[1].bitsPerSecond, 60160U);
}

TEST(SlotClock, OneTickHasNoBitRateAndAPicture) {
    ts_test::TestStream stream;
    AddTicks(stream, 1000, 1000);
    auto const clock = ClockOf(stream);
    EXPECT_TRUE(clock.rates.empty());
    EXPECT_FALSE(PictureOf(clock, PictureFormat::svg).script.empty());
}

TEST(SlotClock, SlotWithoutTicksHasNoPicture) {
    ts_test::TestStream stream;
    stream.Media(10);
    auto const clock = ClockOf(stream);
    EXPECT_EQ(FailureOf([&] { PictureOf(clock, PictureFormat::svg); }),
              "stream file 3 has no ticks");
}

} // namespace
} // namespace workstation::evidence::plotting
