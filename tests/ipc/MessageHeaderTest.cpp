// Cases for the header of a message.
#include "ipc/MessageHeader.h"

#include <gmock/gmock.h>

#include <vector>

using namespace workstation;
using namespace workstation::ipc;
using testing::ElementsAre;

namespace {

// A datagram with a payload of `payloadSize` zero bytes that states `statedSize`.
std::vector<unsigned char> Datagram(std::uint32_t statedSize, std::size_t payloadSize) {
    auto const header = EncodeHeader({0x3603, 9, statedSize});
    std::vector<unsigned char> datagram(header.begin(), header.end());
    datagram.resize(datagram.size() + payloadSize);
    return datagram;
}

} // namespace

TEST(MessageHeaderTest, HeaderHasTheseBytes) {
    EXPECT_THAT(
        EncodeHeader({0x0000360E, 0xA1B2C3D4, 0x00010000}),
        ElementsAre('L', 'N', 'X', '1', 0, 0, 0x36, 0x0E, 0xA1, 0xB2, 0xC3, 0xD4, 0, 1, 0, 0));
}

TEST(MessageHeaderTest, HeaderComesBack) {
    auto const header = DecodeHeader(Datagram(5, 5));
    ASSERT_TRUE(header);
    EXPECT_EQ(header->id, 0x3603U);
    EXPECT_EQ(header->correlation, 9U);
    EXPECT_EQ(header->payloadSize, 5U);
    EXPECT_TRUE(DecodeHeader(Datagram(0, 0)));
    EXPECT_TRUE(DecodeHeader(Datagram(IpcMessage::maxSize, IpcMessage::maxSize)));
}

TEST(MessageHeaderTest, ShortDatagramIsRefused) {
    auto const whole = Datagram(0, 0);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(DecodeHeader(std::span(whole).first(size))) << size;
    }
}

TEST(MessageHeaderTest, EveryWrongByteOfTheMagicIsRefused) {
    for (std::size_t byte = 0; byte < 4; ++byte) {
        auto datagram = Datagram(0, 0);
        datagram[byte] ^= 1;
        EXPECT_FALSE(DecodeHeader(datagram)) << byte;
    }
}

TEST(MessageHeaderTest, StatedSizeThatDiffersIsRefused) {
    EXPECT_FALSE(DecodeHeader(Datagram(4, 5)));
    EXPECT_FALSE(DecodeHeader(Datagram(6, 5)));
    EXPECT_FALSE(DecodeHeader(Datagram(1, 0)));
    EXPECT_FALSE(DecodeHeader(Datagram(0xFFFFFFFF, 0)));
    EXPECT_FALSE(DecodeHeader(Datagram(0xFFFFFFFF, 15)));
}
