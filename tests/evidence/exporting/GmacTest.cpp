// The checksum by which a copy is compared with what was written.
#include "evidence/exporting/Gmac.h"

#include <gmock/gmock.h>

#include <vector>

namespace workstation::evidence::exporting {
namespace {

Gmac::Tag TagOf(std::span<unsigned char const> bytes, std::size_t part) {
    Gmac gmac;
    for (; !bytes.empty(); bytes = bytes.subspan(std::min(part, bytes.size()))) {
        gmac.Add(bytes.first(std::min(part, bytes.size())));
    }
    return gmac.Take();
}

// With this key and this start the tag of nothing is one block of zeros, encrypted.
TEST(GmacTest, NothingHasTheKnownTag) {
    EXPECT_THAT(TagOf({}, 1), testing::ElementsAre(0x58, 0xE2, 0xFC, 0xCE, 0xFA, 0x7E, 0x30, 0x61,
                                                   0x36, 0x7F, 0x1D, 0x57, 0xA4, 0xE7, 0x45, 0x5A));
}

TEST(GmacTest, PartsDoNotMatterAndEveryBitDoes) {
    std::vector<unsigned char> bytes(1000, 0x47);
    auto const tag = TagOf(bytes, bytes.size());
    for (std::size_t const part : {1U, 15U, 16U, 188U}) {
        EXPECT_EQ(TagOf(bytes, part), tag) << part;
    }
    for (std::size_t place = 0; place < bytes.size(); ++place) {
        bytes[place] ^= 0x10U;
        EXPECT_NE(TagOf(bytes, bytes.size()), tag) << place;
        bytes[place] ^= 0x10U;
    }
    bytes.push_back(0);
    EXPECT_NE(TagOf(bytes, bytes.size()), tag);
}

} // namespace
} // namespace workstation::evidence::exporting
