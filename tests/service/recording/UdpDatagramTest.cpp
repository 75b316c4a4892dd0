// The packets of a datagram are found with and without RTP headers, and noise has none.
#include "service/recording/UdpDatagram.h"

#include <gtest/gtest.h>

#include "service/recording/RtpDatagrams.h"

namespace {

using namespace recording_test;
using namespace workstation;
using namespace workstation::service::recording;

Bytes PacketsIn(Bytes const& datagram) {
    auto const packets = ParseUdpDatagram(datagram).packets;
    return {packets.begin(), packets.end()};
}

Bytes const seven = NumberedPackets(0, 7);

TEST(UdpDatagram, OfPacketsIsTakenAsItIs) {
    for (std::uint32_t const count : {1U, 7U, 348U}) {
        Bytes const packets = NumberedPackets(0, count);
        EXPECT_EQ(PacketsIn(packets), packets);
        EXPECT_FALSE(ParseUdpDatagram(packets).rtp);
    }
}

TEST(UdpDatagram, OfRtpIsTakenWithoutItsHeader) {
    Bytes const datagram = RtpDatagram(0xABCD, seven);
    EXPECT_EQ(PacketsIn(datagram), seven);
    EXPECT_EQ(ParseUdpDatagram(datagram).rtp, (RtpHeader{0xABCD, rtpSender}));
}

TEST(UdpDatagram, ListExtensionAndPaddingOfRtpAreLeftOut) {
    Bytes datagram = RtpDatagram(1, {});
    datagram[0] = 0x80 | 0x20 | 0x10 | 15;        // padding, extension, 15 contributing sources
    datagram.resize(12 + 15 * 4, ts::tsSyncByte); // these
    datagram.insert(datagram.end(), {0xBE, 0xDE, 0, 2}); // an extension of two words
    datagram.resize(datagram.size() + 2 * 4, ts::tsSyncByte);
    datagram.insert(datagram.end(), seven.begin(), seven.end());
    datagram.insert(datagram.end(), {0, 0, 0, 4});
    EXPECT_EQ(PacketsIn(datagram), seven);
}

TEST(UdpDatagram, RestOfAPacketIsLeftOut) {
    Bytes datagram = seven;
    datagram.insert(datagram.end(), {0x47, 1, 2});
    EXPECT_EQ(PacketsIn(datagram), seven);
    EXPECT_EQ(PacketsIn(RtpDatagram(1, datagram)), seven);
}

TEST(UdpDatagram, OfNoiseHasNoPackets) {
    Bytes lostSync = seven;
    lostSync[3 * ts::tsPacketSize] = 0;
    Bytes shifted = seven;
    shifted.insert(shifted.begin(), 0);
    Bytes cut = NumberedPackets(0, 1);
    cut.pop_back();
    for (Bytes const& datagram : {Bytes(), Bytes(1), Bytes(1316, 1), Bytes(65507, 0xFF), lostSync,
                                  shifted, cut, RtpDatagram(1, {}), RtpDatagram(1, lostSync)}) {
        EXPECT_EQ(PacketsIn(datagram), Bytes());
    }
}

// Each length and each first byte: no byte outside of the datagram is read.
TEST(UdpDatagram, HeaderThatSaysMoreThanThereIsHasNoPackets) {
    for (std::size_t size = 0; size < 100; ++size) {
        for (unsigned int first = 0x80; first < 0xC0; ++first) {
            Bytes datagram(size, 0xFF);
            if (size > 0) {
                datagram[0] = static_cast<unsigned char>(first);
            }
            EXPECT_EQ(PacketsIn(datagram), Bytes());
        }
    }
}

} // namespace
