// The ticks that are found in whole and in damaged streams.
#include "TsHelper.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ts/TestStream.h"

using namespace workstation;
using namespace workstation::ts;
using namespace ts_test;

namespace {

// The ticks of a stream whose bytes from `cut` on have moved by `shift`.
Ticks After(Ticks ticks, unsigned int cut, int shift) {
    for (auto& [offset, tick] : ticks) {
        offset = offset < cut ? offset : offset + static_cast<unsigned int>(shift);
    }
    return ticks;
}

// Ticks 100, 101, ... with `between` media packets after each.
TestStream Regular(unsigned int count, unsigned int between) {
    TestStream stream;
    for (unsigned int i = 0; i < count; ++i) {
        stream.Tick(100 + i).Media(between);
    }
    return stream;
}

TEST(TsHelper, EmptyBufferHasNoTick) {
    EXPECT_EQ(Find({}), Ticks{});
}

TEST(TsHelper, StreamWithoutTicksGivesNothing) {
    EXPECT_EQ(Find(TestStream().Media(10).Zeros(500).Data()), Ticks{});
}

TEST(TsHelper, EveryFieldOfATickIsReported) {
    StreamMetadata const metadata = {4000000000U, -5, {1, 2, 3, 4, 0xFFFFFFFF}};
    auto const packet = EncodeSystemTick(2, metadata, 9);
    Bytes stream = TestStream().Media(3).Add({packet.begin(), packet.end()}).Media(3).Data();
    auto const ticks = TsHelper(stream).SystemTick(TsHelper::StreamSystickSystem, 0);
    ASSERT_EQ(ticks.size(), 1U);
    EXPECT_EQ(ticks[0].first, 564U);
    EXPECT_EQ(ticks[0].second.tick, metadata.tick);
    EXPECT_EQ(ticks[0].second.time, metadata.time);
    EXPECT_TRUE(std::ranges::equal(ticks[0].second.words, metadata.words));
}

TEST(TsHelper, OnlyTicksOfTheKindAskedForAreReported) {
    auto const other = EncodeSystemTick(3, {7, 0, {}}, 0);
    TestStream stream;
    stream.Tick(1).Add({other.begin(), other.end()}).Media(3);
    EXPECT_EQ(Find(stream.Data()), stream.Expected());
    auto const others =
        TsHelper(stream.Data()).SystemTick(static_cast<TsHelper::StreamSystickId>(3), 0);
    ASSERT_EQ(others.size(), 1U);
    EXPECT_EQ(others[0].first, 188U);
}

TEST(TsHelper, TicksInTheVeryFirstAndVeryLastPacketAreFound) {
    TestStream stream;
    stream.Tick(1).Media(10).Tick(2);
    EXPECT_EQ(Find(stream.Data()), stream.Expected());
    EXPECT_EQ(Find(stream.Zeros(100).Data()), stream.Expected());
    EXPECT_EQ(Find(stream.Zeros(10000).Data()), stream.Expected());
}

TEST(TsHelper, OneTickAloneIsFound) {
    TestStream stream;
    stream.Tick(1);
    EXPECT_EQ(Find(stream.Data()), stream.Expected());
    EXPECT_EQ(Find(stream.Zeros(1000).Data()), stream.Expected());
}

TEST(TsHelper, TickCutOffByTheEndIsNotReported) {
    for (std::size_t length = 1; length < tsPacketSize; ++length) {
        TestStream stream;
        Bytes const tick = TickPacket(2);
        stream.Tick(1).Media(5).Add(
            {tick.begin(), tick.begin() + static_cast<std::ptrdiff_t>(length)});
        EXPECT_EQ(Find(stream.Data()), stream.Expected()) << length;
        EXPECT_EQ(Find(stream.Zeros(1000).Data()), stream.Expected()) << length << " and zeros";
    }
}

TEST(TsHelper, GarbageInFrontOfAnyLengthHidesNoTick) {
    for (std::size_t length = 0; length <= 400; ++length) {
        TestStream stream;
        stream.Add(Garbage(length)).Tick(1).Media(3).Tick(2);
        EXPECT_EQ(Find(stream.Data()), stream.Expected()) << length;
    }
}

//  media  tick 1  media...  | n bytes of a media packet missing |  tick 2  media ... tick 3
TEST(TsHelper, MissingBytesCostNoWholeTick) {
    for (unsigned int missing = 1; missing < tsPacketSize; ++missing) {
        TestStream stream;
        stream.Media(1).Tick(1).Media(3).Tick(2).Media(3).Tick(3);
        unsigned int const cut = stream.Expected()[1].first - missing;
        auto const begin = stream.Data().begin() + cut;
        stream.Data().erase(begin, begin + missing);
        EXPECT_EQ(Find(stream.Data()), After(stream.Expected(), cut, -static_cast<int>(missing)))
            << missing;
    }
}

//  media  tick 1  media...  | the first n bytes of a media packet missing |  tick 2  media ...
TEST(TsHelper, PacketWithoutItsHeadCostsNoOtherTick) {
    for (unsigned int missing = 1; missing < tsPacketSize; ++missing) {
        TestStream stream;
        stream.Media(1).Tick(1).Media(3).Tick(2).Media(3).Tick(3);
        unsigned int const cut = stream.Expected()[1].first - 188;
        auto const begin = stream.Data().begin() + cut;
        stream.Data().erase(begin, begin + missing);
        EXPECT_EQ(Find(stream.Data()), After(stream.Expected(), cut, -static_cast<int>(missing)))
            << missing;
    }
}

//  media  tick 1  media...  | n foreign bytes |  tick 2  media ... tick 3
TEST(TsHelper, InsertedBytesCostNoTick) {
    for (unsigned int inserted = 1; inserted <= 400; ++inserted) {
        TestStream stream;
        stream.Media(1).Tick(1).Media(3).Add(Garbage(inserted)).Tick(2).Media(3).Tick(3);
        EXPECT_EQ(Find(stream.Data()), stream.Expected()) << inserted;
    }
}

//  tick 1 and at once n foreign bytes: the tick itself is whole
TEST(TsHelper, TickBeforeInsertedBytesIsFound) {
    for (unsigned int inserted = 1; inserted <= 400; ++inserted) {
        TestStream stream;
        stream.Media(3).Tick(1).Add(Garbage(inserted)).Media(3).Tick(2);
        EXPECT_EQ(Find(stream.Data()), stream.Expected()) << inserted;
    }
}

//  media  tick 1  media  | n zeros over media packets |  tick 2  media ... tick 3
TEST(TsHelper, ZeroedBytesCostNoTickAroundThem) {
    for (unsigned int zeroed = 1; zeroed <= 5 * tsPacketSize; ++zeroed) {
        TestStream stream;
        stream.Media(1).Tick(1).Media(6).Tick(2).Media(3).Tick(3);
        auto const end = stream.Data().begin() + stream.Expected()[1].first;
        std::fill(end - zeroed, end, static_cast<unsigned char>(0));
        EXPECT_EQ(Find(stream.Data()), stream.Expected()) << zeroed;
    }
}

//  tick 1  media...  first part of tick 2 | other packets | rest of tick 2 | tick 3 ...
TEST(TsHelper, TickCutInTwoIsNotReportedAndCostsNoOther) {
    for (std::size_t length = 1; length < tsPacketSize; ++length) {
        Bytes const tick = TickPacket(2);
        auto const cut = tick.begin() + static_cast<std::ptrdiff_t>(length);
        TestStream stream;
        stream.Tick(1).Media(3).Add({tick.begin(), cut}).Media(3).Add({cut, tick.end()});
        stream.Tick(3).Media(3);
        EXPECT_EQ(Find(stream.Data()), stream.Expected()) << length;
    }
}

// Every media packet has a tick packet's first bytes at the same place of its payload.
TEST(TsHelper, TickInThePayloadIsNotReported) {
    for (std::size_t at = 4; at < tsPacketSize; ++at) {
        TestStream stream;
        stream.Tick(1);
        for (unsigned int i = 0; i < 20; ++i) {
            stream.Add(MisleadingPacket(at, 1000 + i));
        }
        stream.Tick(2).Media(1);
        EXPECT_EQ(Find(stream.Data()), stream.Expected()) << at;
    }
}

// The same, and the stream begins in the middle of a packet: the payload is in step as well as the
// packets are, and comes first.
TEST(TsHelper, TickInThePayloadIsNotReportedWhereTheStreamBeginsInAPacket) {
    for (std::size_t at = 4; at < tsPacketSize; ++at) {
        TestStream stream;
        for (unsigned int i = 0; i < 20; ++i) {
            stream.Add(MisleadingPacket(at, 1000 + i));
        }
        stream.Data().erase(stream.Data().begin(), stream.Data().begin() + 3);
        EXPECT_EQ(Find(stream.Data()), Ticks{}) << at;
    }
}

// A tick whose words are the start of a tick packet, followed by damage: the walk looks for the
// next packet within it.
TEST(TsHelper, WordsOfATickAreNoTick) {
    StreamMetadata const words = {
        0x475FA010, 0x000001BF, {0x00225449, 0x434B0207, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}};
    auto const packet = EncodeSystemTick(2, words, 0);
    TestStream stream;
    stream.Media(3).Add({packet.begin(), packet.end()}).Add(Bytes(16, 0xFF)).Media(3);
    EXPECT_EQ(Find(stream.Data()), (Ticks{{564, 0x475FA010}}));
}

TEST(TsHelper, FromAnOffsetOnlyWhatBeginsThereOrLaterIsReported) {
    TestStream const stream = Regular(3, 2); // at 0, 564 and 1128
    Bytes const data = TestStream(stream).Data();
    Ticks const& all = stream.Expected();
    EXPECT_EQ(Find(data, 0), all);
    for (unsigned int const from : {1U, 187U, 188U, 563U, 564U}) {
        EXPECT_EQ(Find(data, from), (Ticks{all[1], all[2]})) << from;
    }
    for (unsigned int const from : {565U, 1127U, 1128U}) {
        EXPECT_EQ(Find(data, from), (Ticks{all[2]})) << from;
    }
    auto const size = static_cast<unsigned int>(data.size());
    for (unsigned int const from : {1129U, size - 1, size, size + 1, 0xFFFFFFFFU}) {
        EXPECT_EQ(Find(data, from), Ticks{}) << from;
    }
}

TEST(TsHelper, NothingButSyncBytesHasNoTick) {
    for (std::size_t size = 1; size <= 600; ++size) {
        EXPECT_EQ(Find(Bytes(size, tsSyncByte)), Ticks{}) << size;
    }
}

// A whole slot: one tick after every 1023 media packets, the rest of the slot zeros.
TEST(TsHelper, SlotWithZeroFilledRestGivesEveryTick) {
    TestStream stream = Regular(64, 1023);
    stream.Data().resize(0x5E00000);
    EXPECT_EQ(Find(std::move(stream.Data())), stream.Expected());
}

} // namespace
