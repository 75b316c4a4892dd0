// Numbers of ticks in runs with gaps and new starts.
#include "ts/TickNumbering.h"

#include <gtest/gtest.h>

#include <vector>

using workstation::ts::TickNumbering;

namespace {

// The numbers of the ticks with an index below `count`.
std::vector<std::uint32_t> Numbers(TickNumbering const& numbering, std::uint64_t count) {
    std::vector<std::uint32_t> numbers;
    for (std::uint64_t index = 0; index < count; ++index) {
        if (!numbering.IsLeftOut(index)) {
            numbers.push_back(numbering.Number(index));
        }
    }
    return numbers;
}

using Expected = std::vector<std::uint32_t>;

TEST(TickNumbering, CountsUpFromTheFirst) {
    EXPECT_EQ(Numbers(TickNumbering(1000), 4), (Expected{1000, 1001, 1002, 1003}));
}

TEST(TickNumbering, WrapsAfterTheLargestNumber) {
    EXPECT_EQ(Numbers(TickNumbering(0xFFFFFFFE), 4), (Expected{0xFFFFFFFE, 0xFFFFFFFF, 0, 1}));
}

TEST(TickNumbering, TicksOfAGapAreMissingAndCounted) {
    TickNumbering numbering(10);
    numbering.LeaveOut(2, 3);
    EXPECT_EQ(Numbers(numbering, 8), (Expected{10, 11, 15, 16, 17}));
}

TEST(TickNumbering, GapMayBeginAtTheStart) {
    TickNumbering numbering(10);
    numbering.LeaveOut(0, 2);
    EXPECT_EQ(Numbers(numbering, 4), (Expected{12, 13}));
}

TEST(TickNumbering, GapOfNoTicksLeavesNothingOut) {
    TickNumbering numbering(10);
    numbering.LeaveOut(1, 0);
    EXPECT_EQ(Numbers(numbering, 3), (Expected{10, 11, 12}));
}

TEST(TickNumbering, GapsMayOverlapAndNeverEnd) {
    TickNumbering numbering(0);
    numbering.LeaveOut(1, 2);
    numbering.LeaveOut(2, 2);
    numbering.LeaveOut(6, UINT64_MAX);
    EXPECT_EQ(Numbers(numbering, 100), (Expected{0, 4, 5}));
}

TEST(TickNumbering, RestartCountsOnFromItsNumber) {
    TickNumbering numbering(10);
    numbering.RestartAt(2, 500);
    numbering.RestartAt(4, 0);
    EXPECT_EQ(Numbers(numbering, 6), (Expected{10, 11, 500, 501, 0, 1}));
}

TEST(TickNumbering, RestartAtTheStartTakesThePlaceOfTheFirst) {
    TickNumbering numbering(10);
    numbering.RestartAt(0, 7);
    EXPECT_EQ(Numbers(numbering, 2), (Expected{7, 8}));
}

TEST(TickNumbering, RestartWithinAGapHoldsBehindIt) {
    TickNumbering numbering(10);
    numbering.LeaveOut(1, 3);
    numbering.RestartAt(2, 100);
    EXPECT_EQ(Numbers(numbering, 6), (Expected{10, 102, 103}));
}

} // namespace
