// The argument of option --tickinfo as a value. TickOptionsTest holds what is printed.
#include "arguments/TickInfoArgument.h"

#include "fakes/SeamTest.h"

namespace {

using arguments::ParseTickInfoArgument;

class TickInfoArgumentTest : public SeamTest {};

TEST_F(TickInfoArgumentTest, HasTheNumberAndTheFirstCharacterAfterTheComma) {
    struct Case {
        char const* text;
        int fileNumber;
        char mode;
    };
    for (Case const& row :
         {Case{"3", 3, 0}, Case{"", 0, 0}, Case{"abc", 0, 0}, Case{"3,m", 3, 'm'},
          Case{"3,xm", 3, 'x'}, Case{"3, m", 3, ' '}, Case{"3,,m", 3, ','}, Case{",m", 0, 'm'},
          Case{"-3,m", -3, 'm'}, Case{"2147483648", 2147483647, 0}}) {
        auto const argument = ParseTickInfoArgument(row.text);
        ASSERT_TRUE(argument) << row.text;
        EXPECT_EQ(argument->fileNumber, row.fileNumber) << row.text;
        EXPECT_EQ(argument->mode, row.mode) << row.text;
    }
}

TEST_F(TickInfoArgumentTest, NeedsAModeAfterAComma) {
    for (char const* const text : {",", "3,"}) {
        EXPECT_FALSE(ParseTickInfoArgument(text)) << text;
    }
}

} // namespace
