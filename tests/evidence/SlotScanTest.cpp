// What a scan finds in a slot: seeded damage, at places from a table.
#include "evidence/SlotScan.h"

#include <random>

#include <bitstream/mpeg/ts.h>

#include "TestSlot.h"
#include "ts/TestStream.h"

using namespace workstation;
using namespace workstation::evidence;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr std::size_t packetSize = ts::tsPacketSize;

struct Scanned : ScanObserver {
    SlotSummary summary;
    std::vector<Fault> faults;
    std::uint64_t progress = 0;

    void OnRead(std::span<unsigned char const> bytes) override { progress += bytes.size(); }
    void OnFault(Fault const& fault) override { faults.push_back(fault); }
};

Scanned Scan(std::vector<unsigned char> bytes, std::vector<Range> bad = {}) {
    TestSlot slot(std::move(bytes), std::move(bad));
    Scanned scanned;
    scanned.summary = ScanSlot(slot, scanned);
    EXPECT_EQ(scanned.summary.faults, scanned.faults.size());
    return scanned;
}

// A stream of one PID with a tick before every twentieth packet. Tick n, from 1000 on, has the time
// n / 20.
class Stream {
public:
    explicit Stream(std::size_t packets) {
        for (std::size_t i = 0; i < packets; ++i) {
            if (i % 20 == 0) {
                auto const tick = ts_test::TickPacket(static_cast<unsigned int>(1000 + i / 20));
                bytes_.insert(bytes_.end(), tick.begin(), tick.end());
            } else {
                auto packet = ts_test::MediaPacket();
                ts_set_cc(packet.data(), counter_++ & 0xF);
                bytes_.insert(bytes_.end(), packet.begin(), packet.end());
            }
        }
    }

    std::vector<unsigned char>& Bytes() { return bytes_; }

    // The time that stands before a packet, and the counter.
    std::optional<std::int32_t> TimeBefore(std::size_t packet) const {
        return packet == 0
                   ? std::nullopt
                   : std::optional(static_cast<std::int32_t>((1000 + (packet - 1) / 20) / 20));
    }

    Fault Loss(FaultKind kind, std::size_t packet, std::size_t bytes) const {
        return {static_cast<std::uint32_t>(packet * packetSize),
                static_cast<std::uint32_t>(bytes),
                TimeBefore(packet),
                {},
                {},
                kind};
    }
    // `missing` packets show at the one with this number; the damage began with packet `lost`.
    Fault Jump(std::size_t packet, std::uint32_t missing, std::size_t lost) const {
        return {static_cast<std::uint32_t>(packet * packetSize),
                packetSize,
                TimeBefore(lost),
                missing & 0xF,
                0x100,
                FaultKind::continuity};
    }

private:
    std::vector<unsigned char> bytes_;
    unsigned char counter_ = 0;
};

// Packets around the ends of what a scan has in memory, and others. The twelve packets from there
// on contain no tick, and three packets stand before.
constexpr std::size_t windowPackets = 8 * 1024;
constexpr std::size_t places[] = {3,    42,   8162, 8182,  8184,  8186,
                                  8202, 8205, 8222, 16382, 16384, 16387};
constexpr std::size_t streamPackets = 3 * windowPackets;

class AtPlace : public testing::TestWithParam<std::size_t> {
protected:
    Stream stream_{streamPackets};
    std::vector<unsigned char>& bytes_ = stream_.Bytes();
    std::size_t const packet_ = GetParam();
    std::size_t const offset_ = packet_ * packetSize;
};

TEST(SlotScanTest, EmptySlotHoldsNothing) {
    auto const scanned = Scan({});
    EXPECT_EQ(scanned.summary, SlotSummary{});
    EXPECT_THAT(scanned.faults, IsEmpty());
}

TEST(SlotScanTest, SoundSlotHasNoFault) {
    Stream stream(streamPackets);
    auto const scanned = Scan(stream.Bytes());
    EXPECT_THAT(scanned.faults, IsEmpty());
    EXPECT_EQ(scanned.progress, stream.Bytes().size());
    std::uint64_t const ticks = (streamPackets + 19) / 20;
    SlotSummary expected;
    expected.bytes = stream.Bytes().size();
    expected.packets = streamPackets;
    expected.ticks = ticks;
    expected.firstTick = 1000;
    expected.lastTick = static_cast<std::uint32_t>(1000 + ticks - 1);
    expected.from = 50;
    expected.to = static_cast<std::int32_t>((1000 + ticks - 1) / 20);
    expected.bitsPerSecond = 20 * packetSize * 8 * 20;
    EXPECT_EQ(scanned.summary, expected);
}

TEST(SlotScanTest, SlotOfZerosIsOneFault) {
    auto const scanned = Scan(std::vector<unsigned char>(5000000));
    EXPECT_THAT(scanned.faults, ElementsAre(Fault{0, 5000000, {}, {}, {}, FaultKind::zeros}));
    EXPECT_EQ(scanned.summary.packets, 0U);
    EXPECT_EQ(scanned.summary.ticks, 0U);
}

TEST(SlotScanTest, CutLastPacketBelongsToNoPacket) {
    Stream stream(25);
    stream.Bytes().resize(stream.Bytes().size() - 88);
    EXPECT_THAT(Scan(stream.Bytes()).faults,
                ElementsAre(stream.Loss(FaultKind::sync, 24, packetSize - 88)));
}

TEST(SlotScanTest, MissingTicksAreCounted) {
    ts_test::TestStream stream;
    stream.Tick(10).Media(3).Tick(11).Media(3).Tick(15).Media(3).Tick(16);
    auto const scanned = Scan(stream.Data());
    std::vector<Fault> ticks;
    std::ranges::copy_if(scanned.faults, std::back_inserter(ticks),
                         [](Fault const& fault) { return fault.kind == FaultKind::tick; });
    EXPECT_THAT(ticks,
                ElementsAre(Fault{8 * packetSize, packetSize, 0, 3, 0x1FA0, FaultKind::tick}));
    EXPECT_EQ(scanned.summary.ticks, 4U);
    EXPECT_EQ(scanned.summary.firstTick, 10U);
    EXPECT_EQ(scanned.summary.lastTick, 16U);
}

TEST(SlotScanTest, NumberAfterTheLargestIsZero) {
    ts_test::TestStream stream;
    stream.Add(ts_test::TickPacket(0xFFFFFFFF))
        .Add(ts_test::TickPacket(0))
        .Add(ts_test::TickPacket(1));
    EXPECT_THAT(Scan(stream.Data()).faults, IsEmpty());
}

TEST(SlotScanTest, RepeatedTickIsNoFault) {
    ts_test::TestStream stream;
    stream.Tick(10).Tick(10).Tick(11);
    auto const scanned = Scan(stream.Data());
    EXPECT_THAT(scanned.faults, IsEmpty());
    EXPECT_EQ(scanned.summary.ticks, 2U);
}

TEST_P(AtPlace, SyncByteThatIsFlippedLosesItsPacket) {
    bytes_[offset_] ^= 0x10;
    EXPECT_THAT(Scan(bytes_).faults, ElementsAre(stream_.Loss(FaultKind::sync, packet_, packetSize),
                                                 stream_.Jump(packet_ + 1, 1, packet_)));
}

TEST_P(AtPlace, ZeroedPacketsAreOneFault) {
    std::size_t const zeroed = 10;
    std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset_), zeroed * packetSize, 0);
    EXPECT_THAT(Scan(bytes_).faults,
                ElementsAre(stream_.Loss(FaultKind::zeros, packet_, zeroed * packetSize),
                            stream_.Jump(packet_ + zeroed, zeroed, packet_)));
}

TEST_P(AtPlace, DroppedPacketShowsInTheNext) {
    auto const from = bytes_.begin() + static_cast<std::ptrdiff_t>(offset_);
    bytes_.erase(from, from + packetSize);
    Fault jump = stream_.Jump(packet_, 1, packet_);
    EXPECT_THAT(Scan(bytes_).faults, ElementsAre(jump));
}

TEST_P(AtPlace, MissingBytesLoseTheirPacket) {
    auto const from = bytes_.begin() + static_cast<std::ptrdiff_t>(offset_ + 60);
    bytes_.erase(from, from + 100);
    auto const faults = Scan(bytes_).faults;
    Fault jump = stream_.Jump(packet_ + 1, 1, packet_);
    jump.offset -= 100;
    EXPECT_THAT(faults,
                ElementsAre(stream_.Loss(FaultKind::sync, packet_, packetSize - 100), jump));
}

TEST_P(AtPlace, AddedBytesBelongToNoPacket) {
    auto const garbage = ts_test::Garbage(100);
    bytes_.insert(bytes_.begin() + static_cast<std::ptrdiff_t>(offset_), garbage.begin(),
                  garbage.end());
    EXPECT_THAT(Scan(bytes_).faults, ElementsAre(stream_.Loss(FaultKind::sync, packet_, 100)));
}

TEST_P(AtPlace, LongGarbageIsOneFault) {
    auto const garbage = ts_test::Garbage(2000000);
    bytes_.insert(bytes_.begin() + static_cast<std::ptrdiff_t>(offset_), garbage.begin(),
                  garbage.end());
    EXPECT_THAT(Scan(bytes_).faults,
                ElementsAre(stream_.Loss(FaultKind::sync, packet_, garbage.size())));
}

TEST_P(AtPlace, TransportErrorIsNamedAndThePacketNotFollowed) {
    ts_set_transporterror(&bytes_[offset_]);
    Fault error = stream_.Jump(packet_, 0, packet_);
    error.kind = FaultKind::transportError;
    error.missing = {};
    EXPECT_THAT(Scan(bytes_).faults, ElementsAre(error));
}

TEST_P(AtPlace, RepeatedPacketIsNoFault) {
    std::vector<unsigned char> const packet(bytes_.begin() + static_cast<std::ptrdiff_t>(offset_),
                                            bytes_.begin() +
                                                static_cast<std::ptrdiff_t>(offset_ + packetSize));
    bytes_.insert(bytes_.begin() + static_cast<std::ptrdiff_t>(offset_), packet.begin(),
                  packet.end());
    EXPECT_THAT(Scan(bytes_).faults, IsEmpty());
}

TEST_P(AtPlace, UnreadablePageIsPassedOver) {
    std::uint64_t const page = offset_ / 4096 * 4096;
    auto const scanned = Scan(bytes_, {{page, 4096}});
    auto const first = page / packetSize;
    auto const after = (page + 4096 + packetSize - 1) / packetSize;
    ASSERT_GE(scanned.faults.size(), 1U);
    EXPECT_EQ(scanned.faults[0].kind, FaultKind::unreadable);
    EXPECT_EQ(scanned.faults[0].offset, page);
    EXPECT_EQ(scanned.faults[0].bytes, 4096U);
    EXPECT_EQ(scanned.summary.packets, streamPackets - (after - first));
    for (std::size_t i = 1; i < scanned.faults.size(); ++i) {
        EXPECT_THAT(scanned.faults[i].kind, testing::AnyOf(FaultKind::continuity, FaultKind::tick));
    }
}

INSTANTIATE_TEST_SUITE_P(Table, AtPlace, testing::ValuesIn(places));

// Packets at random, far from each other, flipped, zeroed or dropped: each is in the list, and
// nothing else.
TEST(SlotScanTest, SeededDamageIsFoundAndNothingElse) {
    std::mt19937 random(1);
    for (int round = 0; round < 20; ++round) {
        Stream stream(streamPackets);
        auto& bytes = stream.Bytes();
        std::vector<Fault> expected;
        std::size_t dropped = 0;
        for (std::size_t packet = 5; packet + 60 < streamPackets; packet += 40 + random() % 400) {
            while (packet % 20 == 0 || packet % 20 == 19) {
                ++packet;
            }
            std::size_t const offset = (packet - dropped) * packetSize;
            auto const place = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
            auto const shifted = [&](Fault fault) {
                fault.offset -= static_cast<std::uint32_t>(dropped * packetSize);
                return fault;
            };
            Fault const jump = shifted(stream.Jump(packet + 1, 1, packet));
            switch (random() % 4) {
            case 0:
                *place ^= 0x01;
                expected.push_back(shifted(stream.Loss(FaultKind::sync, packet, packetSize)));
                expected.push_back(jump);
                break;
            case 1:
                std::fill_n(place, packetSize, 0);
                expected.push_back(shifted(stream.Loss(FaultKind::zeros, packet, packetSize)));
                expected.push_back(jump);
                break;
            case 2:
                bytes.erase(place, place + packetSize);
                ++dropped;
                expected.push_back(jump);
                expected.back().offset -= static_cast<std::uint32_t>(packetSize);
                break;
            default:
                ts_set_transporterror(&*place);
                expected.push_back(jump);
                expected.back().offset -= static_cast<std::uint32_t>(packetSize);
                expected.back().missing = {};
                expected.back().kind = FaultKind::transportError;
                break;
            }
        }
        ASSERT_THAT(Scan(bytes).faults, ElementsAreArray(expected)) << "round " << round;
    }
}

} // namespace
