// Numbers of ticks in runs with gaps and new starts.
#include "ts/TickGaps.h"

#include <gtest/gtest.h>

#include <vector>

using workstation::ts::TickGaps;

namespace {

// The numbers of the ticks with an index below `count`.
std::vector<std::uint32_t> Numbers(TickGaps const& gaps, std::uint64_t count) {
    std::vector<std::uint32_t> numbers;
    for (std::uint64_t index = 0; index < count; ++index) {
        if (!gaps.IsLeftOut(index)) {
            numbers.push_back(gaps.Number(index));
        }
    }
    return numbers;
}

using Expected = std::vector<std::uint32_t>;

TEST(TickGaps, CountsUpFromTheFirst) {
    EXPECT_EQ(Numbers(TickGaps(1000), 4), (Expected{1000, 1001, 1002, 1003}));
}

TEST(TickGaps, WrapsAfterTheLargestNumber) {
    EXPECT_EQ(Numbers(TickGaps(0xFFFFFFFE), 4), (Expected{0xFFFFFFFE, 0xFFFFFFFF, 0, 1}));
}

TEST(TickGaps, TicksOfAGapAreMissingAndCounted) {
    TickGaps numbers(10);
    numbers.LeaveOut(2, 3);
    EXPECT_EQ(Numbers(numbers, 8), (Expected{10, 11, 15, 16, 17}));
}

TEST(TickGaps, GapMayBeginAtTheStart) {
    TickGaps numbers(10);
    numbers.LeaveOut(0, 2);
    EXPECT_EQ(Numbers(numbers, 4), (Expected{12, 13}));
}

TEST(TickGaps, GapOfNoTicksLeavesNothingOut) {
    TickGaps numbers(10);
    numbers.LeaveOut(1, 0);
    EXPECT_EQ(Numbers(numbers, 3), (Expected{10, 11, 12}));
}

TEST(TickGaps, GapsMayOverlapAndNeverEnd) {
    TickGaps numbers(0);
    numbers.LeaveOut(1, 2);
    numbers.LeaveOut(2, 2);
    numbers.LeaveOut(6, UINT64_MAX);
    EXPECT_EQ(Numbers(numbers, 100), (Expected{0, 4, 5}));
}

TEST(TickGaps, RestartCountsOnFromItsNumber) {
    TickGaps numbers(10);
    numbers.RestartAt(2, 500);
    numbers.RestartAt(4, 0);
    EXPECT_EQ(Numbers(numbers, 6), (Expected{10, 11, 500, 501, 0, 1}));
}

TEST(TickGaps, RestartAtTheStartTakesThePlaceOfTheFirst) {
    TickGaps numbers(10);
    numbers.RestartAt(0, 7);
    EXPECT_EQ(Numbers(numbers, 2), (Expected{7, 8}));
}

TEST(TickGaps, RestartWithinAGapHoldsAfterIt) {
    TickGaps numbers(10);
    numbers.LeaveOut(1, 3);
    numbers.RestartAt(2, 100);
    EXPECT_EQ(Numbers(numbers, 6), (Expected{10, 102, 103}));
}

} // namespace
