// Where an export begins so that a decoder can start.
#include "evidence/exporting/DecoderStart.h"

#include "../CommandRun.h"
#include "ProgramStream.h"
#include "evidence/exporting/ProgramTables.h"
#include "support/TestRoot.h"

namespace workstation::evidence::exporting {
namespace {

constexpr std::uint64_t packetSize = ts::tsPacketSize;

class DecoderStartTest : public testing::Test {
protected:
    DecoderStartTest() { root_.MakePool(3); }

    // The place from which a decoder can start for a tick, the first in its slot with this number.
    ChainPlace Start(std::vector<std::string> const& chain, std::size_t link, std::uint32_t tick) {
        std::vector<int> numbers;
        for (std::string const& bytes : chain) {
            numbers.push_back(static_cast<int>(numbers.size()) + 1);
            LoadSlot(root_.Pool(), numbers.back(), bytes);
        }
        PoolView const pool(root_.Pool());
        PoolSlots slots(pool);
        TickSearch search(slots.At(numbers[link]));
        auto at = search.First(0, chain[link].size());
        while (at && at->tick != tick) {
            at = search.First(at->offset + packetSize, chain[link].size());
        }
        return FindDecoderStart(slots, numbers, link, at.value());
    }

    static ChainPlace Packet(std::size_t link, std::uint64_t packet) {
        return {link, packet * packetSize};
    }

    TestRoot root_;
};

TEST_F(DecoderStartTest, PatBeforeTheLastRandomAccessPointOfTheVideo) {
    ProgramStream stream;
    stream.Tick(20).Pat().Pmt().KeyFrame().Video(5); // packets 0 to 8
    stream.Pat().Pmt().KeyFrame().Video(5).Audio(3); // 9 to 19
    stream.Pat().Video(2).Tick(21).Pat().Pmt().KeyFrame();
    EXPECT_EQ(Start({stream.Bytes()}, 0, 21), Packet(0, 9));
}

TEST_F(DecoderStartTest, FirstStreamCountsWhereThereIsNoVideo) {
    ProgramStream::Streams const audioOnly{{audioPid, audioType}, {0x150, 0x06}};
    ProgramStream stream;
    stream.Tick(20).Pat().Pmt(audioOnly).Audio(5).Pat().Pmt(audioOnly).Audio(2).KeyFrame().Tick(21);
    EXPECT_EQ(Start({stream.Bytes()}, 0, 21), Packet(0, 8));
}

TEST_F(DecoderStartTest, TickItselfWithoutARandomAccessPointOrWithoutTables) {
    ProgramStream noKey;
    noKey.Tick(20).Pat().Pmt().Video(5).Audio(3).Tick(21);
    EXPECT_EQ(Start({noKey.Bytes()}, 0, 21), Packet(0, 11));
    ProgramStream noTables;
    noTables.Tick(20).KeyFrame().Video(5).Tick(21);
    EXPECT_EQ(Start({noTables.Bytes()}, 0, 21), Packet(0, 7));
}

TEST_F(DecoderStartTest, LiesInTheSlotBeforeWhereItHasTo) {
    ProgramStream stream;
    stream.Tick(20).Pat().Pmt().KeyFrame().Video(5);
    std::size_t const first = stream.Bytes().size();
    stream.Tick(21).Video(3).Tick(22).Video(2);
    EXPECT_EQ(Start({stream.Bytes().substr(0, first), stream.Bytes().substr(first)}, 1, 22),
              Packet(0, 1));
}

TEST_F(DecoderStartTest, LiesFarBeforeTheTickOfALongGroupOfPictures) {
    ProgramStream stream;
    stream.Tick(20).Video(10).Pat().Pmt().KeyFrame();
    for (std::uint32_t tick = 21; tick < 60; ++tick) {
        stream.Tick(tick).Video(1000);
    }
    stream.Tick(60);
    EXPECT_EQ(Start({stream.Bytes()}, 0, 60), Packet(0, 11));
}

TEST_F(DecoderStartTest, NeverAcrossAGap) {
    for (auto const& [number, time] : {std::pair(22U, 1), std::pair(21U, 3)}) {
        for (unsigned int const between : {1U, 5000U}) { // in one block and in several
            ProgramStream stream;
            stream.Tick(20, 1).Pat().Pmt().KeyFrame().Video(between).Pat().Video(2);
            stream.Tick(number, time).Video(between);
            std::size_t const last = stream.Packets();
            stream.Tick(number + 1, time);
            EXPECT_EQ(Start({stream.Bytes()}, 0, number + 1), Packet(0, last)) << between;
        }
    }
}

// Packets that follow the last tick before a gap may be lost with it.
TEST_F(DecoderStartTest, WhatLiesBetweenTheTicksOfAGapIsNotUsed) {
    ProgramStream stream;
    stream.Tick(20, 1).Video(5000).Pat().Pmt().KeyFrame().Video(5000);
    std::size_t const last = stream.Packets();
    stream.Tick(30, 1);
    EXPECT_EQ(Start({stream.Bytes()}, 0, 30), Packet(0, last));
}

TEST_F(DecoderStartTest, NeverInASlotThatEndsBeforeAGap) {
    ProgramStream before;
    before.Tick(20).Pat().Pmt().KeyFrame();
    ProgramStream after;
    after.Tick(30).Video(3);
    EXPECT_EQ(Start({before.Bytes(), after.Bytes()}, 1, 30), Packet(1, 0));
}

TEST(ProgramTablesTest, PmtBeforeThePatAndDamagedPmtAreNotUsed) {
    ProgramStream stream;
    stream.Pmt().Pat().Pmt({{videoPid, videoType}});
    std::string bytes = stream.Bytes();
    bytes[2 * packetSize + 20] = static_cast<char>(bytes[2 * packetSize + 20] ^ 1);
    ProgramTables tables;
    for (std::size_t offset = 0; offset < bytes.size(); offset += packetSize) {
        tables.Take(
            ts::TsPacketView(reinterpret_cast<unsigned char const*>(&bytes[offset]), packetSize));
    }
    EXPECT_EQ(tables.LeadingPid(), std::nullopt);
}

} // namespace
} // namespace workstation::evidence::exporting
