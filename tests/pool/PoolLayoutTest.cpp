// The header of a pool image, byte for byte, and what becomes of each damage to it.
#include "pool/PoolLayout.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "BigEndian.h"
#include "support/FailureOf.h"

namespace workstation::pool {
namespace {

constexpr std::size_t checksumAt = 36;

// The bytes before the checksum for a pool of three files.
constexpr unsigned char headerOfThree[checksumAt] = {
    0x89, 'D',  '2',  'B',  '\r', '\n', 0x1A, '\n', // magic
    0,    0,    0,    1,                            // version
    0,    0,    0,    3,                            // file count
    0x05, 0xE0, 0x00, 0x00,                         // slot size
    0,    0,    0x10, 0,                            // table offset
    0,    0,    0,    16,                           // entry size
    0,    0,    0,    0,    0,    0,    0x20, 0,    // data offset
};

// Why a header is refused, without the part that names the image.
std::string FaultOf(PoolHeaderPage const& page) {
    EXPECT_EQ(ErrorOf([&] { DecodePoolHeader(page, "image"); }), EUCLEAN);
    std::string const failure = FailureOf([&] { DecodePoolHeader(page, "image"); });
    EXPECT_EQ(failure.find("image: "), 0U) << failure;
    return failure.substr(std::min(failure.size(), std::size_t{7}));
}

// CRC-32 by its definition as a division of polynomials, independent of the code under test.
std::uint32_t ReferenceCrc(unsigned char const* data, std::size_t size) {
    std::uint32_t remainder = 0;
    for (std::size_t bit = 0; bit < (size + 4) * 8; ++bit) {
        std::size_t const byte = bit / 8;
        bool in = byte < size && (data[byte] >> bit % 8 & 1) != 0;
        in ^= bit < 32;
        bool const carry = (remainder & 0x80000000) != 0;
        remainder = remainder << 1 | static_cast<std::uint32_t>(in);
        remainder ^= carry ? 0x04C11DB7 : 0;
    }
    std::uint32_t reflected = 0;
    for (int bit = 0; bit < 32; ++bit) {
        reflected |= (remainder >> bit & 1) << (31 - bit);
    }
    return ~reflected;
}

// A header whose checksum is right for what it says.
PoolHeaderPage WithChecksum(PoolHeaderPage page) {
    PutBig32(page.data() + checksumAt, ReferenceCrc(page.data(), checksumAt));
    return page;
}

TEST(PoolLayout, HeaderIsWrittenByteForByte) {
    PoolHeaderPage expected{};
    std::copy(std::begin(headerOfThree), std::end(headerOfThree), expected.begin());
    EXPECT_EQ(EncodePoolHeader(3), WithChecksum(expected));
}

TEST(PoolLayout, ChecksumIsTheCommonCrc32) {
    unsigned char const digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(ReferenceCrc(digits, sizeof(digits)), 0xCBF43926);
}

TEST(PoolLayout, HeaderOfAnyCountIsReadBack) {
    for (std::uint32_t const count : {0U, 1U, 3U, 255U, 256U, 257U, 99999U, poolMaxFileCount}) {
        EXPECT_EQ(DecodePoolHeader(EncodePoolHeader(count), "image"), count);
    }
}

TEST(PoolLayout, EveryDamagedByteIsFound) {
    for (std::size_t at = 0; at < checksumAt + 4; ++at) {
        PoolHeaderPage page = EncodePoolHeader(3);
        page[at] = static_cast<unsigned char>(page[at] ^ 0x40);
        std::string const fault = FaultOf(page);
        EXPECT_EQ(fault.find(at < 8 ? "not a pool image: " : "header checksum 0x"), 0U)
            << "byte " << at << ": " << fault;
    }
}

TEST(PoolLayout, ChecksumFaultShowsBothValues) {
    PoolHeaderPage page = EncodePoolHeader(3);
    PutBig32(page.data() + checksumAt, 0x00ABCDEF);
    char computed[32];
    std::snprintf(computed, sizeof(computed), "0x%08x", ReferenceCrc(page.data(), checksumAt));
    EXPECT_EQ(FaultOf(page), std::string("header checksum 0x00abcdef does not match ") + computed);
}

TEST(PoolLayout, EveryWrongFieldIsNamedWithItsValue) {
    struct {
        std::size_t at;
        std::uint32_t value;
        char const* fault;
    } const cases[] = {
        {8, 0, "format version is 0, not 1"},
        {8, 2, "format version is 2, not 1"},
        {12, 100001, "file count is 100001, more than 100000"},
        {12, 0xFFFFFFFF, "file count is 4294967295, more than 100000"},
        {12, 257, "data offset is 8192, not 12288"},
        {16, 0x5E00001, "slot size is 98566145, not 98566144"},
        {16, 0, "slot size is 0, not 98566144"},
        {20, 0, "table offset is 0, not 4096"},
        {20, 8192, "table offset is 8192, not 4096"},
        {24, 20, "entry size is 20, not 16"},
        {28, 1, "data offset is 4294975488, not 8192"},
        {32, 4096, "data offset is 4096, not 8192"},
    };
    for (auto const& wrong : cases) {
        PoolHeaderPage page = EncodePoolHeader(3);
        PutBig32(page.data() + wrong.at, wrong.value);
        EXPECT_EQ(FaultOf(WithChecksum(page)), wrong.fault);
    }
}

TEST(PoolLayout, WhatFollowsTheHeaderIsIgnored) {
    PoolHeaderPage page = EncodePoolHeader(3);
    std::fill(page.begin() + checksumAt + 4, page.end(), static_cast<unsigned char>(0xFF));
    EXPECT_EQ(DecodePoolHeader(page, "image"), 3U);
}

TEST(PoolLayout, SlotsBeginOnThePageAfterTheTable) {
    EXPECT_EQ(PoolDataOffset(0), 4096U);
    EXPECT_EQ(PoolDataOffset(1), 8192U);
    EXPECT_EQ(PoolDataOffset(256), 8192U);
    EXPECT_EQ(PoolDataOffset(257), 12288U);
    EXPECT_EQ(PoolEntryOffset(1), 4096U);
    EXPECT_EQ(PoolEntryOffset(3), 4128U);
    EXPECT_EQ(PoolSlotOffset(3, 1), 8192U);
    EXPECT_EQ(PoolSlotOffset(100, 100), 8192U + std::uint64_t{99} * 98566144);
    EXPECT_EQ(PoolImageSize(3), 8192U + 3 * 98566144U);
}

TEST(PoolLayout, SizeGivesTheCountOnlyWhenItIsExact) {
    for (std::uint32_t const count : {0U, 1U, 2U, 256U, 257U, poolMaxFileCount}) {
        std::uint64_t const size = PoolImageSize(count);
        EXPECT_EQ(PoolFileCountOfSize(size), count);
        EXPECT_EQ(PoolFileCountOfSize(size - 1), std::nullopt);
        EXPECT_EQ(PoolFileCountOfSize(size + 1), std::nullopt);
    }
    EXPECT_EQ(PoolFileCountOfSize(0), std::nullopt);
    EXPECT_EQ(PoolFileCountOfSize(PoolImageSize(poolMaxFileCount + 1)), std::nullopt);
    EXPECT_EQ(PoolFileCountOfSize(~std::uint64_t{0}), std::nullopt);
}

TEST(PoolLayout, CountWithinASizeIsTheLargestThatFits) {
    EXPECT_EQ(PoolFileCountWithin(0), 0U);
    for (std::uint32_t const count : {1U, 2U, 256U, 257U, poolMaxFileCount}) {
        std::uint64_t const size = PoolImageSize(count);
        EXPECT_EQ(PoolFileCountWithin(size - 1), count - 1);
        EXPECT_EQ(PoolFileCountWithin(size), count);
        EXPECT_EQ(PoolFileCountWithin(size + 1), count);
        EXPECT_EQ(PoolFileCountWithin(std::uint64_t{count} * poolSlotSize), count - 1);
    }
    EXPECT_EQ(PoolFileCountWithin(PoolImageSize(poolMaxFileCount + 1)), poolMaxFileCount + 1);
    EXPECT_EQ(PoolFileCountWithin(~std::uint64_t{0}), poolMaxFileCount + 1);
}

} // namespace
} // namespace workstation::pool
