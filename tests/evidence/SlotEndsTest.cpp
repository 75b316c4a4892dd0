// The first and the last tick of a slot, and how much of it is read to find them.
#include "evidence/SlotEnds.h"

#include <random>

#include <gtest/gtest.h>

#include "TestSlot.h"
#include "evidence/SlotScan.h"
#include "ts/TestStream.h"

namespace workstation::evidence {
namespace {

constexpr std::size_t packetSize = ts::tsPacketSize;

std::optional<SlotEnds> Ends(std::vector<unsigned char> bytes, std::vector<Range> bad = {}) {
    TestSlot slot(std::move(bytes), std::move(bad));
    return FindSlotEnds(slot);
}

// A tick, then this many media packets, again and again.
std::vector<unsigned char> Stream(unsigned int ticks, unsigned int packets) {
    ts_test::TestStream stream;
    for (unsigned int tick = 0; tick < ticks; ++tick) {
        stream.Tick(1000 + tick).Media(packets);
    }
    return stream.Data();
}

TEST(SlotEndsTest, TicksAtTheVeryEnds) {
    ts_test::TestStream stream;
    stream.Tick(40).Media(20).Tick(60);
    EXPECT_EQ(Ends(stream.Data()), (SlotEnds{{0, 40, 2}, {21 * packetSize, 60, 3}}));
}

TEST(SlotEndsTest, OneTickIsBoth) {
    ts_test::TestStream stream;
    stream.Media(50).Tick(40).Media(5000);
    PlacedTick const tick{50 * packetSize, 40, 2};
    EXPECT_EQ(Ends(stream.Data()), (SlotEnds{tick, tick}));
}

TEST(SlotEndsTest, SlotWithoutTicksHasNoEnds) {
    EXPECT_EQ(Ends({}), std::nullopt);
    EXPECT_EQ(Ends(ts_test::TestStream().Media(3000).Data()), std::nullopt);
    EXPECT_EQ(Ends(ts_test::Garbage(100000)), std::nullopt);
}

// The blocks grow by two: every position relative to their borders comes up.
TEST(SlotEndsTest, LonelyTicksAreFoundWhereverTheyLie) {
    for (unsigned int before : {63U, 64U, 65U, 191U, 192U, 193U, 8000U, 20000U}) {
        ts_test::TestStream stream;
        stream.Media(before).Tick(40).Media(10).Tick(60).Media(before);
        EXPECT_EQ(Ends(stream.Data()),
                  (SlotEnds{{before * packetSize, 40, 2}, {(before + 11) * packetSize, 60, 3}}))
            << before;
    }
}

TEST(SlotEndsTest, OnlyTheEndsAreRead) {
    TestSlot slot(Stream(100, 1000));
    auto const ends = FindSlotEnds(slot);
    ASSERT_TRUE(ends);
    EXPECT_EQ(ends->first.tick, 1000U);
    EXPECT_EQ(ends->last.tick, 1099U);
    EXPECT_LT(slot.BytesRead(), slot.Length() / 20);
}

TEST(SlotEndsTest, WhatCannotBeReadIsPassedOver) {
    auto const stream = Stream(100, 100);
    std::uint64_t const size = stream.size();
    auto const ends = Ends(stream, {{0, 40960}, {size / 4096 * 4096 - 40960, 81920}});
    ASSERT_TRUE(ends);
    EXPECT_EQ(ends->first, (PlacedTick{303 * packetSize, 1003, 50}));
    EXPECT_EQ(ends->last.tick, 1097U);
}

TEST(SlotEndsTest, PayloadThatLooksLikeATickIsNoTick) {
    ts_test::TestStream stream;
    for (unsigned int i = 0; i < 300; ++i) {
        stream.Add(ts_test::MisleadingPacket(20, i));
    }
    stream.Tick(40);
    for (unsigned int i = 0; i < 300; ++i) {
        stream.Add(ts_test::MisleadingPacket(20, i));
    }
    PlacedTick const tick{300 * packetSize, 40, 2};
    EXPECT_EQ(Ends(stream.Data()), (SlotEnds{tick, tick}));
}

class Unobserved : public ScanObserver {
    void OnRead(std::span<unsigned char const> /*bytes*/) override {}
    void OnFault(Fault const& /*fault*/) override {}
};

// Whatever is damaged, the ends are those that a scan of the whole slot finds.
TEST(SlotEndsTest, EndsOfADamagedSlotAreThoseOfAScan) {
    for (unsigned int seed = 0; seed < 200; ++seed) {
        std::mt19937 random(seed);
        auto const upTo = [&](std::size_t end) { return random() % end; };
        auto stream = Stream(50, 30);
        for (int i = 0; i < 5; ++i) {
            auto const from = stream.begin() + static_cast<std::ptrdiff_t>(upTo(stream.size()));
            auto const count = static_cast<std::ptrdiff_t>(
                std::min<std::size_t>(upTo(20000), static_cast<std::size_t>(stream.end() - from)));
            switch (upTo(3)) {
            case 0:
                std::fill(from, from + count, static_cast<unsigned char>(0));
                break;
            case 1:
                std::generate(from, from + count,
                              [&] { return static_cast<unsigned char>(random()); });
                break;
            default:
                stream.erase(from, from + count);
            }
        }
        TestSlot slot(stream);
        Unobserved unobserved;
        auto const summary = ScanSlot(slot, unobserved);
        auto const ends = FindSlotEnds(slot);
        ASSERT_TRUE(ends) << seed;
        EXPECT_EQ(ends->first.tick, summary.firstTick) << seed;
        EXPECT_EQ(ends->last.tick, summary.lastTick) << seed;
        EXPECT_EQ(ends->first.time, summary.from) << seed;
        EXPECT_EQ(ends->last.time, summary.to) << seed;
    }
}

} // namespace
} // namespace workstation::evidence
