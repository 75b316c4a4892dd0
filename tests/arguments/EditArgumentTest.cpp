// The argument of option -e as a value. TickOptionsTest holds what is printed.
#include "arguments/EditArgument.h"

#include "fakes/SeamTest.h"

namespace {

using arguments::ParseEditArgument;

class EditArgumentTest : public SeamTest {};

TEST_F(EditArgumentTest, HasTheNumbersOfItsParts) {
    struct Case {
        char const* text;
        int fileNumber;
        int firstTick;
        int lastTick;
    };
    constexpr int largest = 2147483647;
    for (Case const& row : {
             Case{"5,100-200", 5, 100, 200},
             Case{"5,-200", 5, 0, 200},
             Case{"5,100-", 5, 100, 0},
             Case{"5,-", 5, 0, 0},
             Case{",1-2", 0, 1, 2},
             Case{"x,y-z", 0, 0, 0},
             Case{"5,1--2", 5, 1, -2},
             Case{"5,1-2-3", 5, 1, 2},
             Case{"4294967297,2147483648-99999999999", largest, largest, largest},
             // The first dash counts: one before the comma as well.
             Case{"-5,100", -5, 100, 5},
             Case{"5-6,1-2", 5, 1, 6},
         }) {
        auto const argument = ParseEditArgument(row.text);
        ASSERT_TRUE(argument) << row.text;
        EXPECT_EQ(argument->fileNumber, row.fileNumber) << row.text;
        EXPECT_EQ(argument->firstTick, row.firstTick) << row.text;
        EXPECT_EQ(argument->lastTick, row.lastTick) << row.text;
    }
}

TEST_F(EditArgumentTest, NeedsACommaAndADash) {
    for (char const* const text : {"", "5", "-", "51-200", ",", "5,", "5,100"}) {
        EXPECT_FALSE(ParseEditArgument(text)) << text;
    }
}

} // namespace
