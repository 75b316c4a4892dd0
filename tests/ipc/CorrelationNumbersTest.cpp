// Cases for the numbers of requests.
#include "ipc/CorrelationNumbers.h"

#include <gtest/gtest.h>

using workstation::ipc::CorrelationNumbers;

TEST(CorrelationNumbersTest, NumbersAscendFromTheStart) {
    CorrelationNumbers numbers(7);
    EXPECT_EQ(numbers.Next(), 8U);
    EXPECT_EQ(numbers.Next(), 9U);
}

TEST(CorrelationNumbersTest, ZeroIsSkipped) {
    CorrelationNumbers numbers(0xFFFFFFFE);
    EXPECT_EQ(numbers.Next(), 0xFFFFFFFFU);
    EXPECT_EQ(numbers.Next(), 1U);
    EXPECT_FALSE(numbers.WasGiven(0));
}

TEST(CorrelationNumbersTest, BeforeTheFirstNothingWasGiven) {
    for (std::uint32_t const start : {0U, 7U, 0xFFFFFFFFU}) {
        CorrelationNumbers const numbers(start);
        EXPECT_FALSE(numbers.WasGiven(start - 1)) << start;
        EXPECT_FALSE(numbers.WasGiven(start)) << start;
        EXPECT_FALSE(numbers.WasGiven(start + 1)) << start;
    }
}

TEST(CorrelationNumbersTest, NumbersFromTheFirstToTheLastWereGiven) {
    for (std::uint32_t const start : {0U, 7U, 0x7FFFFFFEU, 0xFFFFFFFDU, 0xFFFFFFFFU}) {
        CorrelationNumbers numbers(start);
        std::uint32_t const first = numbers.Next();
        std::uint32_t const second = numbers.Next();
        std::uint32_t const third = numbers.Next();
        EXPECT_FALSE(numbers.WasGiven(start)) << start;
        EXPECT_TRUE(numbers.WasGiven(first)) << start;
        EXPECT_TRUE(numbers.WasGiven(second)) << start;
        EXPECT_TRUE(numbers.WasGiven(third)) << start;
        EXPECT_FALSE(numbers.WasGiven(third + 1)) << start;
        EXPECT_FALSE(numbers.WasGiven(start + 0x80000000U)) << start;
    }
}
