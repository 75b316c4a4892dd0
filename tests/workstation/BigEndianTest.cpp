// Cases for the big-endian words.
#include "BigEndian.h"

#include <gmock/gmock.h>

#include <array>

using namespace workstation;
using testing::ElementsAre;

TEST(BigEndianTest, WordHasItsMostSignificantByteFirst) {
    std::array<unsigned char, 4> bytes{};
    PutBig32(bytes.data(), 0x01A2B3F4);
    EXPECT_THAT(bytes, ElementsAre(0x01, 0xA2, 0xB3, 0xF4));
    EXPECT_EQ(GetBig32(bytes.data()), 0x01A2B3F4U);
}

TEST(BigEndianTest, DoubleWordHasItsMostSignificantByteFirst) {
    std::array<unsigned char, 8> bytes{};
    PutBig64(bytes.data(), 0xF1E2D3C4B5A69788);
    EXPECT_THAT(bytes, ElementsAre(0xF1, 0xE2, 0xD3, 0xC4, 0xB5, 0xA6, 0x97, 0x88));
    EXPECT_EQ(GetBig64(bytes.data()), 0xF1E2D3C4B5A69788U);
}

TEST(BigEndianTest, BoundaryValuesComeBack) {
    for (std::uint64_t const value :
         {0x0ULL, 0x1ULL, 0x7FFFFFFFULL, 0x80000000ULL, 0xFFFFFFFFULL, 0x100000000ULL,
          0x7FFFFFFFFFFFFFFFULL, 0x8000000000000000ULL, 0xFFFFFFFFFFFFFFFFULL}) {
        std::array<unsigned char, 8> bytes{};
        PutBig64(bytes.data(), value);
        EXPECT_EQ(GetBig64(bytes.data()), value);
        auto const low = static_cast<std::uint32_t>(value);
        PutBig32(bytes.data(), low);
        EXPECT_EQ(GetBig32(bytes.data()), low);
    }
}
