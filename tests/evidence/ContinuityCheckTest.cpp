// What counts as a packet that is missing.
#include "evidence/ContinuityCheck.h"

#include <map>

#include <bitstream/mpeg/ts.h>

#include "ts/TestStream.h"

using namespace workstation;
using namespace workstation::evidence;

namespace {

using Packet = std::vector<unsigned char>;

Packet WithPayload(unsigned int pid, unsigned int counter) {
    Packet packet = ts_test::MediaPacket();
    ts_set_pid(packet.data(), static_cast<std::uint16_t>(pid));
    ts_set_cc(packet.data(), static_cast<std::uint8_t>(counter));
    return packet;
}

Packet WithoutPayload(unsigned int pid, unsigned int counter) {
    Packet packet = WithPayload(pid, counter);
    packet[3] = static_cast<unsigned char>(0x20 | counter);
    packet[4] = 183;
    packet[5] = 0;
    return packet;
}

Packet Announcing(Packet packet) {
    packet[3] = static_cast<unsigned char>(packet[3] | 0x20);
    packet[4] = 1;
    packet[5] = 0x80;
    return packet;
}

class ContinuityCheckTest : public testing::Test {
protected:
    std::optional<unsigned int> Take(Packet const& packet) {
        std::uint64_t const offset = 188 * taken_.size();
        taken_[offset] = packet;
        return check_.Take(offset, ts::TsPacketView(packet.data(), packet.size()));
    }

private:
    std::map<std::uint64_t, Packet> taken_;
    ContinuityCheck check_{[this](std::uint64_t offset) { return taken_.at(offset); }};
};

TEST_F(ContinuityCheckTest, CountsOnAndWraps) {
    for (unsigned int i = 5; i < 5 + 40; ++i) {
        EXPECT_EQ(Take(WithPayload(256, i & 0xF)), std::nullopt) << i;
    }
}

TEST_F(ContinuityCheckTest, MissingPacketsAreCountedModulo16) {
    EXPECT_EQ(Take(WithPayload(256, 3)), std::nullopt);
    EXPECT_EQ(Take(WithPayload(256, 5)), 1U);
    EXPECT_EQ(Take(WithPayload(256, 4)), 14U);
    EXPECT_EQ(Take(WithPayload(256, 5)), std::nullopt);
}

TEST_F(ContinuityCheckTest, EachPidHasItsOwnCounter) {
    EXPECT_EQ(Take(WithPayload(256, 3)), std::nullopt);
    EXPECT_EQ(Take(WithPayload(257, 9)), std::nullopt);
    EXPECT_EQ(Take(WithPayload(256, 4)), std::nullopt);
    EXPECT_EQ(Take(WithPayload(257, 11)), 1U);
}

TEST_F(ContinuityCheckTest, OneRepetitionIsAllowedAndNotTwo) {
    EXPECT_EQ(Take(WithPayload(256, 3)), std::nullopt);
    EXPECT_EQ(Take(WithPayload(256, 3)), std::nullopt);
    EXPECT_EQ(Take(WithPayload(256, 3)), 15U);
    EXPECT_EQ(Take(WithPayload(256, 4)), std::nullopt);
}

TEST_F(ContinuityCheckTest, SameCounterWithOtherBytesIsNoRepetition) {
    Packet other = WithPayload(256, 3);
    other.back() ^= 1;
    EXPECT_EQ(Take(WithPayload(256, 3)), std::nullopt);
    EXPECT_EQ(Take(other), 15U);
}

TEST_F(ContinuityCheckTest, RepetitionMayHaveAnotherPcr) {
    Packet const first = ts_test::PcrPacket(27000000, false, 256);
    EXPECT_EQ(Take(first), std::nullopt);
    EXPECT_EQ(Take(ts_test::PcrPacket(27000300, false, 256)), std::nullopt);
    Packet other = ts_test::PcrPacket(27000600, false, 256);
    EXPECT_EQ(Take(other), 15U); // the second one
}

TEST_F(ContinuityCheckTest, PacketWithoutPayloadDoesNotCount) {
    EXPECT_EQ(Take(WithPayload(256, 3)), std::nullopt);
    EXPECT_EQ(Take(WithoutPayload(256, 3)), std::nullopt);
    EXPECT_EQ(Take(WithoutPayload(256, 3)), std::nullopt);
    EXPECT_EQ(Take(WithPayload(256, 4)), std::nullopt);
    EXPECT_EQ(Take(WithoutPayload(256, 6)), 2U);
}

TEST_F(ContinuityCheckTest, AnnouncedJumpIsNoFault) {
    EXPECT_EQ(Take(WithPayload(256, 3)), std::nullopt);
    EXPECT_EQ(Take(Announcing(WithPayload(256, 9))), std::nullopt);
    EXPECT_EQ(Take(WithPayload(256, 10)), std::nullopt);
}

TEST_F(ContinuityCheckTest, NullPacketsAndTicksAreNotFollowed) {
    for (unsigned int const pid : {0x1FFFU, 0x1FA0U}) {
        EXPECT_EQ(Take(WithPayload(pid, 3)), std::nullopt);
        EXPECT_EQ(Take(WithPayload(pid, 9)), std::nullopt);
    }
}

} // namespace
