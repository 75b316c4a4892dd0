// Where ticks are inserted into a stream, and what they say.
#include "ts/TickInserter.h"

#include <gtest/gtest.h>

#include <string>

#include "ts/TestStream.h"

using namespace workstation;
using namespace workstation::ts;
using namespace ts_test;

namespace {

constexpr std::uint64_t ms = PcrClock::unitsPerSecond / 1000;
constexpr std::uint64_t wrap = (std::uint64_t{1} << 33) * 300;

Bytes Insert(TickInserter& inserter, Bytes const& stream) {
    Bytes out;
    for (std::size_t at = 0; at < stream.size(); at += tsPacketSize) {
        inserter.Pass(std::span(stream).subspan(at).first<tsPacketSize>(), out);
    }
    return out;
}

// The packets of a stream, one word for each: "7@3" a tick with its number and its time, "-" any
// other packet.
std::string Picture(Bytes const& stream) {
    std::string picture;
    for (std::size_t at = 0; at < stream.size(); at += tsPacketSize) {
        auto const tick = DecodeSystemTick(std::span(stream).subspan(at).first<tsPacketSize>(), 2);
        picture += tick ? std::to_string(tick->tick) + "@" + std::to_string(tick->time) : "-";
        picture += at + tsPacketSize < stream.size() ? " " : "";
    }
    return picture;
}

// One packet for each PCR in milliseconds.
Bytes Stream(std::initializer_list<std::uint64_t> pcrs) {
    TestStream stream;
    for (std::uint64_t const pcr : pcrs) {
        stream.Add(PcrPacket(pcr * ms));
    }
    return stream.Data();
}

std::string PictureOf(TickInserter inserter, Bytes const& stream) {
    return Picture(Insert(inserter, stream));
}

TEST(TickInserter, FirstTickComesBeforeTheFirstPacketEvenBeforeAnyPcr) {
    EXPECT_EQ(
        PictureOf(TickInserter(7, 100), TestStream().Media(2).Add(PcrPacket(5)).Media(1).Data()),
        "7@100 - - - -");
}

//  PCR in ms    0    40    50    99    100   150
//  tick         7          8           9     10
TEST(TickInserter, TickComesBeforeThePacketWhosePcrReachesItsTime) {
    EXPECT_EQ(PictureOf(TickInserter(7, 100), Stream({0, 40, 50, 99, 100, 150})),
              "7@100 - - 8@100 - - 9@100 - 10@100 -");
}

TEST(TickInserter, SeveralTicksThatAreDueComeTogether) {
    EXPECT_EQ(PictureOf(TickInserter(7, 100), Stream({0, 160})), "7@100 - 8@100 9@100 10@100 -");
}

TEST(TickInserter, TimeCountsSecondsFromTheFirstTick) {
    EXPECT_EQ(PictureOf(TickInserter(0, -1, 2), Stream({0, 500, 1000, 1500, 2000})),
              "0@-1 - 1@-1 - 2@0 - 3@0 - 4@1 -");
}

TEST(TickInserter, TimeWrapsWhereASignedWordDoes) {
    EXPECT_EQ(PictureOf(TickInserter(0, 0x7FFFFFFF, 1), Stream({0, 1000})),
              "0@2147483647 - 1@-2147483648 -");
}

//  PCR in ms    wrap - 60    wrap - 20    30     80
//  elapsed      0            40           90     140
TEST(TickInserter, TicksGoOnAcrossTheWrapOfThePcr) {
    Bytes const stream = TestStream()
                             .Add(PcrPacket(wrap - 60 * ms))
                             .Add(PcrPacket(wrap - 20 * ms))
                             .Add(PcrPacket(30 * ms))
                             .Add(PcrPacket(80 * ms))
                             .Data();
    EXPECT_EQ(PictureOf(TickInserter(1, 0), stream), "1@0 - - 2@0 - 3@0 -");
}

//  PCR in ms    0    40    900000 (jump)    900010    900060
//  elapsed      0    40    40               50        100
TEST(TickInserter, TicksGoOnCountingAfterAJump) {
    EXPECT_EQ(PictureOf(TickInserter(1, 0), Stream({0, 40, 900000, 900010, 900060})),
              "1@0 - - - 2@0 - 3@0 -");
}

TEST(TickInserter, TicksGoOnCountingAfterAnAnnouncedDiscontinuity) {
    Bytes const stream = TestStream()
                             .Add(PcrPacket(0))
                             .Add(PcrPacket(40 * ms))
                             .Add(PcrPacket(100 * ms, true))
                             .Add(PcrPacket(110 * ms))
                             .Data();
    EXPECT_EQ(PictureOf(TickInserter(1, 0), stream), "1@0 - - - 2@0 -");
}

TEST(TickInserter, OtherRatesDivideTheSecond) {
    EXPECT_EQ(PictureOf(TickInserter(0, 0, 3), Stream({0, 333, 334, 667, 1000})),
              "0@0 - - 1@0 - 2@0 - 3@1 -");
}

TEST(TickInserter, GapsAndRestartsOfTheNumbersTakeNoTimeAway) {
    TickGaps numbers(10);
    numbers.LeaveOut(1, 2);
    numbers.RestartAt(4, 500);
    EXPECT_EQ(PictureOf(TickInserter(numbers, 0, 2), Stream({0, 500, 1000, 1500, 2000, 2500})),
              "10@0 - - - 13@1 - 500@2 - 501@2 -");
}

TEST(TickInserter, AnotherInserterGoesOnWhereOneEnded) {
    TickInserter first(7, 100, 1);
    Insert(first, Stream({0, 1000}));
    auto const next = first.NextTick();
    EXPECT_EQ(next.tick, 9U);
    EXPECT_EQ(next.time, 102);
    EXPECT_EQ(PictureOf(TickInserter(next.tick, next.time, 1), Stream({0, 1000})),
              "9@102 - 10@103 -");
}

TEST(TickInserter, SaysWhetherTheStreamHasAPcr) {
    TickInserter inserter(7, 100);
    Insert(inserter, TestStream().Media(3).Data());
    EXPECT_FALSE(inserter.HasClock());
    Insert(inserter, Stream({0}));
    EXPECT_TRUE(inserter.HasClock());
}

TEST(TickInserter, OtherPacketsPassByteForByte) {
    Bytes const stream = TestStream()
                             .Media(2)
                             .Add(PcrPacket(0))
                             .Media(3)
                             .Add(PcrPacket(40 * ms))
                             .Add(PcrPacket(340 * ms))
                             .Data();
    TickInserter inserter(7, 100);
    Bytes const out = Insert(inserter, stream);
    Bytes others;
    for (auto at = out.begin(); at != out.end(); at += tsPacketSize) {
        if (at[1] != 0x5F) {
            others.insert(others.end(), at, at + tsPacketSize);
        }
    }
    EXPECT_EQ(others, stream);
    EXPECT_EQ(out.size(), stream.size() + 7 * tsPacketSize);
}

TEST(TickInserter, ContinuityCounterOfTheTicksCountsModulo16) {
    TickInserter inserter(0, 0);
    TestStream stream;
    for (std::uint64_t i = 0; i < 40; ++i) {
        stream.Add(PcrPacket(50 * i * ms));
    }
    Bytes const out = Insert(inserter, stream.Data());
    ASSERT_EQ(out.size(), 80 * tsPacketSize);
    for (std::size_t i = 0; i < 40; ++i) {
        EXPECT_EQ(out[2 * i * tsPacketSize + 3] & 0xF, i % 16);
    }
}

TEST(TickInserter, ContinuityCounterDoesNotCountTicksLeftOut) {
    TickGaps numbers(0);
    numbers.LeaveOut(1, 1);
    TickInserter inserter(numbers, 0);
    Bytes const out = Insert(inserter, Stream({0, 50, 100}));
    EXPECT_EQ(Picture(out), "0@0 - - 2@0 -");
    EXPECT_EQ(out[3 * tsPacketSize + 3] & 0xF, 1);
}

//  PCR in ms    0    60      200
//  tick         7    8       9 10 11
TEST(TickInserter, ReportsTheTicksThatItInsertedWithTheirOffsets) {
    TickInserter inserter(7, 100, 20);
    Bytes out(5); // what the output holds already
    Bytes const stream = Stream({0, 60, 200});
    std::vector<std::vector<InsertedTick>> reports;
    for (std::size_t at = 0; at < stream.size(); at += tsPacketSize) {
        auto const ticks = inserter.Pass(std::span(stream).subspan(at).first<tsPacketSize>(), out);
        reports.emplace_back(ticks.begin(), ticks.end());
    }
    EXPECT_EQ(reports, (std::vector<std::vector<InsertedTick>>{
                           {{5, 7, 100}},
                           {{5 + 2 * tsPacketSize, 8, 100}},
                           {{5 + 4 * tsPacketSize, 9, 100},
                            {5 + 5 * tsPacketSize, 10, 100},
                            {5 + 6 * tsPacketSize, 11, 100}},
                       }));
}

TEST(TickInserter, ReportsTheTimeOfTheTickAndNotTheTicksOfAGap) {
    TickGaps numbers(10);
    numbers.LeaveOut(1, 2);
    TickInserter inserter(numbers, 100, 1);
    Bytes out;
    Bytes const stream = Stream({0, 1000, 2000, 3000});
    for (std::size_t i = 0; i < 4; ++i) {
        auto const ticks =
            inserter.Pass(std::span(stream).subspan(i * tsPacketSize).first<tsPacketSize>(), out);
        ASSERT_EQ(ticks.size(), i == 0 || i == 3 ? 1U : 0U) << i;
        if (!ticks.empty()) {
            EXPECT_EQ(ticks[0].tick, 10 + i);
            EXPECT_EQ(ticks[0].time, static_cast<int>(100 + i));
        }
    }
}

} // namespace
