// The argument of option --split as a value. SplitOptionTest holds what is printed.
#include "arguments/SplitArgument.h"

#include <stdexcept>

#include "fakes/SeamTest.h"

namespace {

using arguments::ParseSplitArgument;

std::string const reid = "0123456789ABcdef:-1"; // 19 characters, the shortest that is well-formed

class SplitArgumentTest : public SeamTest {};

TEST_F(SplitArgumentTest, HasTheSizeAsTypedAndAsTheServiceTakesIt) {
    struct Case {
        char const* sizeText;
        unsigned int size;
        bool isMiB;
        unsigned int serviceSize;
    };
    for (Case const& row : {
             Case{"3", 3, false, 3},
             Case{"1023", 1023, false, 1023},
             Case{"1M", 1, true, 1024},
             Case{"512M", 512, true, 524288},
             Case{"3m", 3, false, 3},
             Case{"3 and M", 3, true, 3072},
             Case{" \t3M", 3, true, 3072},
             Case{"3M ", 3, false, 3},
             Case{"-1", 4294967295, false, 4294967295},
             Case{"-1M", 4294967295, true, 4294966272},
             Case{"4294967297", 2147483647, false, 2147483647},
             Case{"4194304M", 4194304, true, 0},
         }) {
        auto const argument = ParseSplitArgument(reid + "," + row.sizeText);
        ASSERT_TRUE(argument) << row.sizeText;
        EXPECT_EQ(argument->size, row.size) << row.sizeText;
        EXPECT_EQ(argument->isMiB, row.isMiB) << row.sizeText;
        EXPECT_EQ(argument->ServiceSize(), row.serviceSize) << row.sizeText;
    }
}

TEST_F(SplitArgumentTest, HasTheIdentifierWithoutTheBlanksAroundIt) {
    auto const argument = ParseSplitArgument(" \t" + reid + "\t ,3");
    ASSERT_TRUE(argument);
    EXPECT_EQ(argument->reid, reid);
    EXPECT_TRUE(argument->reidIsWellFormed);
}

TEST_F(SplitArgumentTest, KeepsAMalformedIdentifier) {
    for (std::string const& malformed : {reid.substr(1), "g" + reid, reid + " " + reid}) {
        auto const argument = ParseSplitArgument(malformed + ",3");
        ASSERT_TRUE(argument) << malformed;
        EXPECT_EQ(argument->reid, malformed);
        EXPECT_FALSE(argument->reidIsWellFormed) << malformed;
    }
}

TEST_F(SplitArgumentTest, NeedsACommaAndASize) {
    for (std::string const& text : {std::string(), reid, reid + ",0", reid + ",0M", reid + ",x3"}) {
        EXPECT_FALSE(ParseSplitArgument(text)) << text;
    }
}

TEST_F(SplitArgumentTest, EmptySideOfTheCommaIsAnException) {
    for (std::string const& text :
         {std::string(",3"), std::string(" \t,3"), reid + ",", reid + ", "}) {
        EXPECT_THROW((void)ParseSplitArgument(text), std::out_of_range) << text;
    }
}

} // namespace
