// Ticks found by their time, and how little is read for it.
#include "evidence/TickSearch.h"

#include <random>

#include "TestSlot.h"
#include "ts/TestStream.h"

namespace workstation::evidence {
namespace {

constexpr std::size_t packetSize = ts::tsPacketSize;

void Append(std::vector<unsigned char>& stream, std::uint32_t tick, std::int32_t time) {
    auto const packet = ts::EncodeSystemTick(TsHelper::StreamSystickSystem, {tick, time, {}}, 0);
    stream.insert(stream.end(), packet.begin(), packet.end());
}

// `count` ticks from `first` on, with the time 100 and each time for as many ticks as in a
// recording, `distance` packets apart.
std::vector<unsigned char> Stream(std::uint32_t first, std::uint32_t count, std::size_t distance) {
    std::vector<unsigned char> stream;
    stream.reserve(count * distance * packetSize);
    auto const media = ts_test::MediaPacket();
    for (std::uint32_t i = 0; i < count; ++i) {
        Append(stream, first + i, static_cast<std::int32_t>(100 + i / 20));
        for (std::size_t packet = 1; packet < distance; ++packet) {
            stream.insert(stream.end(), media.begin(), media.end());
        }
    }
    return stream;
}

// What reading the whole slot finds.
std::optional<PlacedTick> FirstNotBeforeByReading(std::vector<unsigned char> bytes,
                                                  std::int64_t time) {
    for (auto const& [offset, tick] :
         TsHelper(bytes).SystemTick(TsHelper::StreamSystickSystem, 0)) {
        if (tick.time >= time) {
            return PlacedTick{offset, tick.tick, tick.time};
        }
    }
    return std::nullopt;
}

TEST(TickSearchTest, FirstTickOfEachSecondIsFoundWhateverTheirDistance) {
    for (std::size_t const distance : {1U, 4U, 87U, 88U, 600U}) {
        auto const stream = Stream(1000, 100, distance);
        TestSlot slot(stream);
        for (std::int64_t time = 98; time < 107; ++time) {
            EXPECT_EQ(TickSearch(slot).FirstNotBefore(time), FirstNotBeforeByReading(stream, time))
                << distance << " " << time;
        }
    }
}

TEST(TickSearchTest, SearchBeginsWhereItIsTold) {
    TestSlot slot(Stream(1000, 100, 10));
    TickSearch search(slot);
    EXPECT_EQ(search.FirstNotBefore(0, 1), (PlacedTick{10 * packetSize, 1001, 100}));
    EXPECT_EQ(search.First(10 * packetSize + 1, 20 * packetSize), std::nullopt);
    EXPECT_EQ(search.First(10 * packetSize + 1, 20 * packetSize + 1),
              (PlacedTick{20 * packetSize, 1002, 100}));
}

TEST(TickSearchTest, NumbersMayWrap) {
    TestSlot slot(Stream(0xFFFFFFF0, 100, 10));
    EXPECT_EQ(TickSearch(slot).FirstNotBefore(101), (PlacedTick{200 * packetSize, 4, 101}));
}

TEST(TickSearchTest, SlotWithoutTicksHasNoTick) {
    for (std::size_t const size : {0U, 1U, 100000U, 3000000U}) {
        TestSlot slot(std::vector<unsigned char>(size, 0x47));
        EXPECT_EQ(TickSearch(slot).FirstNotBefore(0), std::nullopt) << size;
    }
}

TEST(TickSearchTest, FullSlotIsNotRead) {
    // 20 ticks a second in a stream of 10 Mbit/s.
    TestSlot slot(Stream(1000, 1580, 332));
    ASSERT_GT(slot.Length(), 98000000U);
    auto const found = TickSearch(slot).FirstNotBefore(140);
    EXPECT_EQ(found, (PlacedTick{800 * 332 * packetSize, 1800, 140}));
    EXPECT_LT(slot.BytesRead(), 800000U);
}

// Ticks in damaged parts are not found; the others keep their places.
TEST(TickSearchTest, DamageHidesOnlyTheTicksInIt) {
    for (unsigned int seed = 0; seed < 100; ++seed) {
        std::mt19937 random(seed);
        auto stream = Stream(1000, 200, 30);
        for (int i = 0; i < 6; ++i) {
            auto const from = random() % stream.size();
            auto const count = std::min<std::size_t>(random() % 60000, stream.size() - from);
            bool const isZero = random() % 2 == 0;
            std::generate_n(stream.begin() + static_cast<std::ptrdiff_t>(from), count,
                            [&] { return static_cast<unsigned char>(isZero ? 0 : random()); });
        }
        TestSlot slot(stream);
        for (std::int64_t time = 99; time < 112; ++time) {
            EXPECT_EQ(TickSearch(slot).FirstNotBefore(time), FirstNotBeforeByReading(stream, time))
                << seed << " " << time;
        }
    }
}

} // namespace
} // namespace workstation::evidence
