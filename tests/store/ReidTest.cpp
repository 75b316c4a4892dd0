// Record event identifiers.
#include "store/Reid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <set>

#include "StoreTest.h"

namespace workstation::store {
namespace {

struct ReidCase {
    std::int64_t time;
    std::uint32_t number;
    char const* reid;
};

class ReidFormatTest : public testing::TestWithParam<ReidCase> {};

TEST_P(ReidFormatTest, IsUtcDateTimeAndNumber) {
    EXPECT_EQ(FormatReid(GetParam().time, GetParam().number), GetParam().reid);
}

INSTANTIATE_TEST_SUITE_P(
    Times, ReidFormatTest,
    testing::Values(
        ReidCase{1795228565, 0x5F3A9C21, "20261121-023605:5f3a9c21"},
        ReidCase{0, 0, "19700101-000000:00000000"},
        ReidCase{951782400, 1, "20000229-000000:00000001"},
        ReidCase{2147483647, 0xFFFFFFFF, "20380119-031407:ffffffff"},
        ReidCase{2147483648, 2, "20380119-031408:00000002"},
        ReidCase{253402300799, 3, "99991231-235959:00000003"},
        ReidCase{253402300800, 4, "99991231-235959:00000004"},
        ReidCase{std::numeric_limits<std::int64_t>::max(), 5, "99991231-235959:00000005"},
        ReidCase{-1, 6, "19700101-000000:00000006"},
        ReidCase{std::numeric_limits<std::int64_t>::min(), 7, "19700101-000000:00000007"}));

// What the tool wants of an identifier before it splits the event.
bool IsWellFormed(std::string const& reid) {
    return reid.size() > 18 &&
           reid.find_first_not_of("0123456789abcdefABCDEF:-") == std::string::npos;
}

using StoredReidTest = StoreTest;

TEST_F(StoredReidTest, IsWellFormedAndHasTheTime) {
    for (int i = 0; i < 100; ++i) {
        std::string const reid = store_.BeginRecording(1, 1795228565);
        EXPECT_TRUE(IsWellFormed(reid)) << reid;
        EXPECT_EQ(reid.substr(0, 16), "20261121-023605:");
    }
}

TEST_F(StoredReidTest, TwoOfOneSecondDiffer) {
    std::set<std::string> reids;
    for (int i = 0; i < 100; ++i) {
        reids.insert(store_.BeginRecording(1, 1795228565));
    }
    EXPECT_EQ(reids.size(), 100U);
}

TEST_F(StoredReidTest, EventsBearTheTimeTheyBeginAt) {
    Record(1, 1, 1795228565, 1795228600);
    auto const event = store_.RecordAfterTheFact(0, 1795228700, allStreams, 0);
    ASSERT_TRUE(event);
    EXPECT_TRUE(IsWellFormed(event->reid)) << event->reid;
    EXPECT_EQ(event->reid.substr(0, 16), "20261121-023605:");
}

} // namespace
} // namespace workstation::store
