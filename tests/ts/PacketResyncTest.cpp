// Which packets are found in whole and in damaged streams.
#include "ts/PacketResync.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ts/TestStream.h"

using namespace workstation;
using namespace workstation::ts;
using namespace ts_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::size_t> Packets(Bytes stream, std::size_t from = 0) {
    stream.shrink_to_fit();
    std::vector<std::size_t> packets;
    PacketResync const walk(stream);
    for (auto packet = walk.First(from); packet != walk.End(); packet = walk.After(packet)) {
        packets.push_back(packet);
    }
    return packets;
}

TEST(PacketResync, EmptyStreamHasNoPacket) {
    EXPECT_THAT(Packets({}), IsEmpty());
}

TEST(PacketResync, GarbageAloneHasNoPacket) {
    EXPECT_THAT(Packets(Garbage(1000)), IsEmpty());
}

TEST(PacketResync, WholeStreamGivesEveryPacket) {
    EXPECT_THAT(Packets(TestStream().Media(4).Data()), ElementsAre(0, 188, 376, 564));
}

// At the end there are no two further sync bytes; all that is left must be in step then.
TEST(PacketResync, OneAndTwoPacketsAloneAreFound) {
    EXPECT_THAT(Packets(TestStream().Media(1).Data()), ElementsAre(0));
    EXPECT_THAT(Packets(TestStream().Media(2).Data()), ElementsAre(0, 188));
}

TEST(PacketResync, OneAndTwoPacketsBeforeZerosAreFound) {
    EXPECT_THAT(Packets(TestStream().Media(1).Zeros(1000).Data()), ElementsAre(0));
    EXPECT_THAT(Packets(TestStream().Media(2).Zeros(1000).Data()), ElementsAre(0, 188));
    EXPECT_THAT(Packets(TestStream().Media(2).Zeros(1).Data()), ElementsAre(0, 188));
}

TEST(PacketResync, OneAndTwoPacketsBeforeGarbageAreNotTrusted) {
    EXPECT_THAT(Packets(TestStream().Media(1).Add(Garbage(400)).Data()), IsEmpty());
    EXPECT_THAT(Packets(TestStream().Media(2).Add(Garbage(400)).Data()), IsEmpty());
}

TEST(PacketResync, OncePacketsAreInStepTheLastOneMayStandBeforeGarbage) {
    EXPECT_THAT(Packets(TestStream().Media(4).Add(Garbage(400)).Data()),
                ElementsAre(0, 188, 376, 564));
}

TEST(PacketResync, CutLastPacketIsNotGiven) {
    for (std::size_t length = 1; length < tsPacketSize; ++length) {
        Bytes stream = TestStream().Media(3).Data();
        stream.resize(2 * tsPacketSize + length);
        EXPECT_THAT(Packets(stream), ElementsAre(0, 188)) << length;
    }
}

TEST(PacketResync, PacketCutBeforeZerosEndsTheData) {
    Bytes stream = TestStream().Media(3).Data();
    stream.resize(2 * tsPacketSize + 50);
    stream.resize(2000);
    EXPECT_THAT(Packets(stream), ElementsAre(0, 188, 376));
}

TEST(PacketResync, AnyLengthOfGarbageInFrontIsPassedOver) {
    for (std::size_t length = 0; length <= 400; ++length) {
        EXPECT_THAT(Packets(TestStream().Add(Garbage(length)).Media(3).Data()),
                    ElementsAre(length, length + 188, length + 376));
    }
}

TEST(PacketResync, BeginsWithTheFirstPacketFromTheGivenOffset) {
    Bytes const stream = TestStream().Media(4).Data();
    EXPECT_THAT(Packets(stream, 188), ElementsAre(188, 376, 564));
    EXPECT_THAT(Packets(stream, 189), ElementsAre(376, 564));
    EXPECT_THAT(Packets(stream, 564), ElementsAre(564));
    EXPECT_THAT(Packets(stream, 565), IsEmpty());
    EXPECT_THAT(Packets(stream, 752), IsEmpty());
    EXPECT_THAT(Packets(stream, SIZE_MAX), IsEmpty());
}

//  offset  0      188    376 (100 bytes missing)  464    652    840
//          media  media  88 bytes of a packet     media  media  media
TEST(PacketResync, AfterMissingBytesEveryWholePacketIsFound) {
    Bytes stream = TestStream().Media(6).Data();
    stream.erase(stream.begin() + 376 + 50, stream.begin() + 376 + 150);
    EXPECT_THAT(Packets(stream), ElementsAre(0, 188, 376, 464, 652, 840));
}

//  offset  0      188    376 (10 bytes inserted at 426)  574    762    950
//          media  media  198 bytes                       media  media  media
TEST(PacketResync, AfterInsertedBytesEveryWholePacketIsFound) {
    Bytes stream = TestStream().Media(6).Data();
    Bytes const inserted = Garbage(10);
    stream.insert(stream.begin() + 376 + 50, inserted.begin(), inserted.end());
    EXPECT_THAT(Packets(stream), ElementsAre(0, 188, 376, 574, 762, 950));
}

//  offset  0      188    376 to 800   800     940    1128   1316
//          media  media  zeros        packet  media  media  media
//                                     's end
TEST(PacketResync, AfterZerosInTheMiddleEveryWholePacketIsFound) {
    Bytes stream = TestStream().Media(8).Data();
    std::fill(stream.begin() + 376, stream.begin() + 800, static_cast<unsigned char>(0));
    EXPECT_THAT(Packets(stream), ElementsAre(0, 188, 940, 1128, 1316));
}

TEST(PacketResync, OneLostSyncByteCostsOnePacket) {
    Bytes stream = TestStream().Media(6).Data();
    stream[564] = 0;
    EXPECT_THAT(Packets(stream), ElementsAre(0, 188, 376, 752, 940));
}

// Every packet has a sync byte at byte 50, with a plausible header after it: only the alignment
// that was followed before shows which is the true one.
TEST(PacketResync, OneLostSyncByteDoesNotLoseTheAlignmentToThePayload) {
    TestStream stream;
    for (unsigned int i = 0; i < 8; ++i) {
        stream.Add(MisleadingPacket(50, i));
    }
    stream.Data()[564] = 0;
    EXPECT_THAT(Packets(stream.Data()), ElementsAre(0, 188, 376, 752, 940, 1128, 1316));
}

// The payload is in step for four packets only, the packets for longer.
//
//  offset  0                   100    288    476    664    852    1040
//          100 bytes of        media  media  media  media  media  media
//          garbage, 0x47 at
//          20 and at 208, 396,
//          584
TEST(PacketResync, OfTwoAlignmentsTheOneThatLastsLongerWins) {
    TestStream stream;
    stream.Add(Garbage(100)).Media(6);
    for (std::size_t const misleading : {20U, 208U, 396U, 584U}) {
        stream.Data()[misleading] = tsSyncByte;
    }
    EXPECT_THAT(Packets(stream.Data()), ElementsAre(100, 288, 476, 664, 852, 1040));
}

// Bytes that never end to be in step in the payload, but head no header that can be right.
TEST(PacketResync, OfTwoAlignmentsThatLastTheOneWithPlausibleHeadersWins) {
    TestStream stream;
    stream.Add(Garbage(100)).Media(30);
    for (std::size_t misleading = 20; misleading < stream.Data().size(); misleading += 188) {
        stream.Data()[misleading] = tsSyncByte;
        stream.Data()[misleading + 3] = 0; // the reserved adaptation_field_control
    }
    auto const packets = Packets(stream.Data());
    ASSERT_EQ(packets.size(), 30U);
    EXPECT_EQ(packets.front(), 100U);
}

TEST(PacketResync, OfTwoAlignmentsThatLastTheOneWithoutTransportErrorsWins) {
    TestStream stream;
    stream.Add(Garbage(100)).Media(30);
    for (std::size_t misleading = 20; misleading < stream.Data().size(); misleading += 188) {
        stream.Data()[misleading] = tsSyncByte;
        stream.Data()[misleading + 1] = 0x81; // transport_error_indicator
        stream.Data()[misleading + 3] = 0x10;
    }
    EXPECT_EQ(Packets(stream.Data()).front(), 100U);
}

// Of the payload, `steps` bytes at 188-byte steps look like the starts of packets.
std::size_t FirstPacketBeside(std::size_t steps) {
    TestStream stream;
    stream.Add(Garbage(100)).Media(30);
    for (std::size_t step = 0; step < steps; ++step) {
        std::size_t const misleading = 20 + step * tsPacketSize;
        stream.Data()[misleading] = tsSyncByte;
        stream.Data()[misleading + 1] = 0x01;
        stream.Data()[misleading + 3] = 0x10;
    }
    return Packets(stream.Data()).front();
}

TEST(PacketResync, AlignmentLastsWithThreeQuartersOfSixteenPackets) {
    EXPECT_EQ(FirstPacketBeside(12), 20U);
    EXPECT_EQ(FirstPacketBeside(11), 100U);
}

TEST(PacketResync, NothingButSyncBytesIsWalkedInSteps) {
    for (std::size_t size = 1; size <= 600; ++size) {
        EXPECT_EQ(Packets(Bytes(size, tsSyncByte)).size(), size / tsPacketSize) << size;
    }
}

} // namespace
