// The bytes of a tick packet, and what is taken for one.
#include "ts/SystemTickPacket.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace workstation;
using namespace workstation::ts;

namespace {

constexpr unsigned char identifier = 2;

StreamMetadata const sample = {0x01020304, -2, {0x11121314, 0, 0xFFFFFFFF, 7, 0x80000000}};

bool Decodes(SystemTickPacket const& packet) {
    return DecodeSystemTick(packet, identifier).has_value();
}

TEST(SystemTickPacket, EncodesToTheDocumentedBytes) {
    SystemTickPacket expected = {
        0x47, 0x5F, 0xA0, 0x1D,             // sync, start of unit and PID, payload and counter
        0x00, 0x00, 0x01, 0xBF, 0x00, 0x22, // private_stream_2, PES length 34
        'T',  'I',  'C',  'K',  0x02, 0x07, // mark, identifier, word count
        0x01, 0x02, 0x03, 0x04,             // tick
        0xFF, 0xFF, 0xFF, 0xFE,             // time
        0x11, 0x12, 0x13, 0x14, 0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF,
        0xFF, 0xFF, 0x00, 0x00, 0x00, 0x07, 0x80, 0x00, 0x00, 0x00,
    };
    std::fill(expected.begin() + 44, expected.end(), static_cast<unsigned char>(0xFF));
    EXPECT_EQ(EncodeSystemTick(identifier, sample, 13), expected);
}

TEST(SystemTickPacket, ContinuityCounterWrapsAt16) {
    EXPECT_EQ(EncodeSystemTick(identifier, sample, 16), EncodeSystemTick(identifier, sample, 0));
}

TEST(SystemTickPacket, DecodesToWhatWasEncoded) {
    auto const decoded = DecodeSystemTick(EncodeSystemTick(identifier, sample, 0), identifier);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->tick, sample.tick);
    EXPECT_EQ(decoded->time, sample.time);
    EXPECT_TRUE(std::ranges::equal(decoded->words, sample.words));
}

TEST(SystemTickPacket, OtherIdentifierIsAnotherKindOfTick) {
    auto const packet = EncodeSystemTick(3, sample, 0);
    EXPECT_FALSE(DecodeSystemTick(packet, identifier));
    EXPECT_TRUE(DecodeSystemTick(packet, 3));
}

// The bits that may be either in a tick, by byte: transport_priority and the continuity_counter.
// From byte 16 on the words hold any value, from 44 on all is stuffing.
TEST(SystemTickPacket, AnySingleWrongBitOutsideTheWordsMakesItNoTick) {
    for (std::size_t byte = 0; byte < tsPacketSize; ++byte) {
        for (unsigned int bit = 0; bit < 8; ++bit) {
            auto packet = EncodeSystemTick(identifier, sample, 0);
            packet[byte] = static_cast<unsigned char>(packet[byte] ^ 1U << bit);
            bool const mayBeEither =
                (byte == 1 && bit == 5) || (byte == 3 && bit < 4) || (byte >= 16 && byte < 44);
            EXPECT_EQ(Decodes(packet), mayBeEither) << "byte " << byte << " bit " << bit;
        }
    }
}

TEST(SystemTickPacket, AdaptationFieldIsRefused) {
    auto packet = EncodeSystemTick(identifier, sample, 0);
    packet[3] = 0x30;
    EXPECT_FALSE(Decodes(packet));
}

TEST(SystemTickPacket, TransportErrorIsRefused) {
    auto packet = EncodeSystemTick(identifier, sample, 0);
    packet[1] |= 0x80;
    EXPECT_FALSE(Decodes(packet));
}

TEST(SystemTickPacket, WrongPesLengthIsRefused) {
    for (int const length : {0, 33, 35, 255}) {
        auto packet = EncodeSystemTick(identifier, sample, 0);
        packet[9] = static_cast<unsigned char>(length);
        EXPECT_FALSE(Decodes(packet)) << length;
    }
}

TEST(SystemTickPacket, WrongWordCountIsRefused) {
    for (int const count : {0, 6, 8, 255}) {
        auto packet = EncodeSystemTick(identifier, sample, 0);
        packet[15] = static_cast<unsigned char>(count);
        EXPECT_FALSE(Decodes(packet)) << count;
    }
}

// What a file's end leaves of its last packet, in a buffer that is filled with zeros after it.
TEST(SystemTickPacket, TickCutOffAtAnyLengthIsRefused) {
    for (std::size_t length = 0; length < tsPacketSize; ++length) {
        auto packet = EncodeSystemTick(identifier, sample, 0);
        std::fill(packet.begin() + static_cast<std::ptrdiff_t>(length), packet.end(),
                  static_cast<unsigned char>(0));
        EXPECT_FALSE(Decodes(packet)) << length;
    }
}

} // namespace
