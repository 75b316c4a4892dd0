// The argument of option -y as a value. InsertOptionsTest holds what is printed.
#include "arguments/InsertArgument.h"

#include "fakes/SeamTest.h"

namespace {

using arguments::ParseInsertArgument;

class InsertArgumentTest : public SeamTest {};

TEST_F(InsertArgumentTest, HasTheNumberAndTheSourceNameWithoutItsSuffix) {
    struct Case {
        char const* text;
        int fileNumber;
        char const* sourceName;
    };
    for (Case const& row : {
             Case{"7,clip", 7, "clip"},
             Case{"7,clip.ts", 7, "clip"},
             Case{"7,clip.ts.ts", 7, "clip.ts"},
             Case{"7,clip.mpg", 7, "clip.mpg"},
             Case{"7,clip.TS", 7, "clip.TS"},
             Case{"7,", 7, ""},
             Case{"7,a,b", 7, "a,b"},
             Case{"7x,clip", 7, "clip"},
             Case{"12.ts", 12, "12"},
             Case{"12.day1.ts", 12, "12.day1"},
             Case{"12.", 12, "12."},
             Case{"12", 0, "12"},
             Case{"", 0, ""},
         }) {
        auto const argument = ParseInsertArgument(row.text);
        ASSERT_TRUE(argument) << row.text;
        EXPECT_EQ(argument->fileNumber, row.fileNumber) << row.text;
        EXPECT_EQ(argument->sourceName, row.sourceName) << row.text;
    }
}

TEST_F(InsertArgumentTest, NeedsANumberAboveZeroBeforeACommaOrAFullStop) {
    for (char const* const text :
         {",clip", "0,clip", "-7,clip", "x,clip", "abc.ts", "0.ts", ".ts"}) {
        EXPECT_FALSE(ParseInsertArgument(text)) << text;
    }
}

} // namespace
