// Whole packets come out, in whatever pieces and however damaged a stream goes in.
#include "service/recording/PacketAssembler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "service/recording/DamagedStream.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::recording;

constexpr std::size_t pieceSizes[] = {1, 187, 188, 189, 4000, 65536, 192512};

struct Outcome {
    Bytes packets;
    SyncCounts counts;
    bool endedInPacket = false;
};

void TakeAll(PacketAssembler& assembler, Bytes& packets) {
    for (auto run = assembler.Next(); !run.empty(); run = assembler.Next()) {
        EXPECT_EQ(run.size() % ts::tsPacketSize, 0U);
        packets.insert(packets.end(), run.begin(), run.end());
    }
}

Outcome Align(Bytes const& stream, std::size_t pieceSize) {
    PacketAssembler assembler;
    Outcome outcome;
    std::span<unsigned char const> rest = stream;
    while (!rest.empty()) {
        auto const room = assembler.Room();
        auto const piece = rest.first(std::min({rest.size(), pieceSize, room.size()}));
        EXPECT_FALSE(piece.empty()) << "the assembler has no room left";
        if (piece.empty()) {
            break;
        }
        std::ranges::copy(piece, room.begin());
        assembler.Filled(piece.size());
        TakeAll(assembler, outcome.packets);
        rest = rest.subspan(piece.size());
    }
    assembler.End();
    TakeAll(assembler, outcome.packets);
    outcome.counts = assembler.Counts();
    outcome.endedInPacket = assembler.EndedInPacket();
    return outcome;
}

struct Damage {
    char const* name;
    DamagedStream stream;
    unsigned int losses;
    bool endsInPacket = false;
};

void PrintTo(Damage const& damage, std::ostream* out) {
    *out << damage.name;
}

Bytes PacketWithoutSyncByte() {
    Bytes packet = NumberedPacket(1000);
    packet[0] = 0x46;
    return packet;
}

// The end of a packet that looks like the beginning of one, and as many packets with the same bytes
// in the same place.
DamagedStream MisleadingStart() {
    constexpr std::size_t at = 100;
    Bytes const packet = ts_test::MisleadingPacket(at, 1);
    DamagedStream stream;
    stream.Bad({packet.begin() + at, packet.end()});
    for (int i = 0; i < 4; ++i) {
        stream.Good(packet);
    }
    stream.Good(40);
    return stream;
}

class DamageTest : public testing::TestWithParam<Damage> {};

TEST_P(DamageTest, GoodPacketsComeOutAndTheRestIsCounted) {
    Damage const& damage = GetParam();
    for (std::size_t const pieceSize : pieceSizes) {
        SCOPED_TRACE(pieceSize);
        Outcome const outcome = Align(damage.stream.All(), pieceSize);
        ASSERT_EQ(outcome.packets, damage.stream.Found());
        EXPECT_EQ(outcome.counts.packets, damage.stream.Found().size() / ts::tsPacketSize);
        EXPECT_EQ(outcome.counts.droppedBytes,
                  damage.stream.All().size() - damage.stream.Found().size());
        EXPECT_EQ(outcome.counts.losses, damage.losses);
        EXPECT_EQ(outcome.endedInPacket, damage.endsInPacket);
    }
}

constexpr std::size_t cutSizes[] = {1, 2, 100, 186, 187};
constexpr std::size_t garbageSizes[] = {1, 2, 187, 188, 189, 376, 3759, 3760, 3761, 100000};

std::vector<Damage> Damages() {
    std::vector<Damage> damages = {
        {"Empty", DamagedStream(), 0},
        {"Clean", DamagedStream().Good(3000), 0},
        {"ThreePackets", DamagedStream().Good(3), 0},
        {"TwoPackets", DamagedStream().Bad(NumberedPacket(0)).Bad(NumberedPacket(1)), 0},
        {"TwoPacketsAndACutOne", DamagedStream().Good(2).BadCut(1), 0, true},
        {"OnePacket", DamagedStream().Bad(NumberedPacket(0)), 0},
        {"OnlyGarbage", DamagedStream().Bad(Garbage(500000)), 0},
        {"OnlyZeros", DamagedStream().Bad(Bytes(500000)), 0},
        {"PacketInZeros", DamagedStream().Bad(Bytes(5000)).Bad(NumberedPacket(0)).Bad(Bytes(50000)),
         0},
        {"TwoPacketsInZeros",
         DamagedStream().Bad(NumberedPacket(0)).Bad(NumberedPacket(1)).Bad(Bytes(50000)), 0},
        {"OnePacketWithoutSyncByte", DamagedStream().Good(50).Bad(PacketWithoutSyncByte()).Good(50),
         1},
        {"TwoPacketsWithoutSyncByte",
         DamagedStream()
             .Good(50)
             .Bad(PacketWithoutSyncByte())
             .Bad(PacketWithoutSyncByte())
             .Good(50),
         1},
        {"EverySecondPacketWithoutSyncByteForAWhile",
         DamagedStream()
             .Good(50)
             .Bad(PacketWithoutSyncByte())
             .Good(3)
             .Bad(PacketWithoutSyncByte())
             .Good(50),
         2},
        {"ZerosBetween", DamagedStream().Good(50).Bad(Bytes(10000)).Good(50), 1},
        {"ZerosBehind", DamagedStream().Good(50).Bad(Bytes(10000)), 1},
        {"LongGarbageBetween", DamagedStream().Good(50).Bad(Garbage(400000)).Good(50), 1},
        {"TwoPacketsBehindGarbageAtTheEnd",
         DamagedStream()
             .Good(50)
             .Bad(Garbage(1000))
             .Bad(NumberedPacket(900))
             .Bad(NumberedPacket(901)),
         1},
        {"BytesMissingFromThreePackets",
         DamagedStream().Good(50).BadCut(62).BadCut(62).BadCut(62).Good(50), 1},
        {"MisleadingStart", MisleadingStart(), 0},
    };
    for (std::size_t const size : cutSizes) {
        damages.push_back({"EndsInAPacket", DamagedStream().Good(50).BadCut(size), 0, true});
        damages.push_back({"BytesMissing", DamagedStream().Good(50).BadCut(size).Good(50), 1});
        damages.push_back({"ShortGarbageAtTheEnd", DamagedStream().Good(50).Bad(Garbage(size)), 1});
    }
    for (std::size_t const size : garbageSizes) {
        damages.push_back({"GarbageBefore", DamagedStream().Bad(Garbage(size)).Good(50), 0});
        damages.push_back(
            {"GarbageBetween", DamagedStream().Good(50).Bad(Garbage(size)).Good(50), 1});
    }
    return damages;
}

INSTANTIATE_TEST_SUITE_P(Table, DamageTest, testing::ValuesIn(Damages()), [](auto const& test) {
    return test.param.name + std::to_string(test.index);
});

TEST(PacketAssembler, PacketIsGivenOutAsSoonAsTheNextOneBegins) {
    PacketAssembler assembler;
    Bytes packets;
    Bytes const stream = DamagedStream().Good(60).All();
    auto const feed = [&](std::size_t from, std::size_t to) {
        std::copy(&stream[from], stream.data() + to, assembler.Room().begin());
        assembler.Filled(to - from);
        TakeAll(assembler, packets);
    };
    feed(0, 50 * ts::tsPacketSize);
    EXPECT_EQ(packets.size(), 49 * ts::tsPacketSize);
    feed(50 * ts::tsPacketSize, 50 * ts::tsPacketSize + 1);
    EXPECT_EQ(packets.size(), 50 * ts::tsPacketSize);
    EXPECT_TRUE(assembler.InSync());
}

TEST(PacketAssembler, LossOfSyncShowsWhileItLasts) {
    PacketAssembler assembler;
    Bytes packets;
    auto const feed = [&](Bytes const& bytes) {
        std::ranges::copy(bytes, assembler.Room().begin());
        assembler.Filled(bytes.size());
        TakeAll(assembler, packets);
    };
    EXPECT_FALSE(assembler.InSync());
    feed(DamagedStream().Good(50).All());
    EXPECT_TRUE(assembler.InSync());
    feed(Garbage(50000));
    EXPECT_FALSE(assembler.InSync());
    EXPECT_EQ(assembler.Counts().losses, 1U);
    feed(DamagedStream().Good(50).All());
    EXPECT_TRUE(assembler.InSync());
    EXPECT_EQ(assembler.Counts().losses, 1U);
}

// Packets, cut and mangled at random: what comes out does not depend on how it goes in.
TEST(PacketAssembler, PiecesOfAnySizeGiveTheSamePackets) {
    for (unsigned int seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        auto const below = [&](std::size_t end) { return random() % end; };
        DamagedStream stream;
        for (int part = 0; part < 8; ++part) {
            stream.Good(static_cast<unsigned int>(below(40)))
                .Bad(Bytes(below(3) * below(300)))
                .BadCut(below(188));
            Bytes noise(below(400));
            std::ranges::generate(noise, [&] { return static_cast<unsigned char>(random()); });
            stream.Bad(noise).Bad(Bytes(below(2) * below(400), ts::tsSyncByte));
        }
        Outcome const whole = Align(stream.All(), stream.All().size());
        for (std::size_t const pieceSize : pieceSizes) {
            Outcome const pieces = Align(stream.All(), pieceSize);
            ASSERT_EQ(pieces.packets, whole.packets);
            ASSERT_EQ(pieces.counts, whole.counts);
        }
        EXPECT_EQ(whole.packets.size() + whole.counts.droppedBytes, stream.All().size());
    }
}

} // namespace
