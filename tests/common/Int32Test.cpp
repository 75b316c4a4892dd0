// Numbers as the recorder has them.
#include "common/Int32.h"

#include <gtest/gtest.h>

namespace {

TEST(ParseInt32, TakesANumberAsFarAsItGoesAndSaturates) {
    struct Case {
        char const* text;
        std::int32_t number;
    };
    constexpr std::int32_t largest = 2147483647;
    constexpr std::int32_t smallest = -largest - 1;
    constexpr Case cases[] = {
        {"", 0},
        {"abc", 0},
        {"-", 0},
        {"0", 0},
        {"-0", 0},
        {" \t12abc", 12},
        {"+12", 12},
        {"0x1f", 0},
        {"017", 17},
        {"1e3", 1},
        {"2147483646", largest - 1},
        {"2147483647", largest},
        {"2147483648", largest},
        {"4294967295", largest},
        {"4294967296", largest},
        {"4294967297", largest},
        {"9223372036854775807", largest},
        {"9223372036854775808", largest},
        {"99999999999999999999999", largest},
        {"-2147483647", smallest + 1},
        {"-2147483648", smallest},
        {"-2147483649", smallest},
        {"-4294967297", smallest},
        {"-9223372036854775808", smallest},
        {"-99999999999999999999999", smallest},
    };
    for (Case const& row : cases) {
        EXPECT_EQ(common::ParseInt32(row.text), row.number) << row.text;
    }
}

TEST(AddInt32, WrapsAt32Bits) {
    struct Case {
        long counter;
        long amount;
        long sum;
    };
    constexpr long largest = 2147483647;
    constexpr long smallest = -largest - 1;
    constexpr Case cases[] = {
        {0, 0, 0},
        {1, 2, 3},
        {largest - 1, 1, largest},
        {largest, 0, largest},
        {largest, 1, smallest},
        {largest, 192512, smallest + 192511},
        {largest, largest, -2},
        {smallest, 1, smallest + 1},
        {smallest, largest, -1},
        {-1, 1, 0},
    };
    for (Case const& row : cases) {
        long counter = row.counter;
        common::AddInt32(counter, row.amount);
        EXPECT_EQ(counter, row.sum) << row.counter << " + " << row.amount;
    }
}

} // namespace
