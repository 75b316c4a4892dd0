// Cases for the menu of log levels.
#include "frame/LogLevelMenu.h"

#include <gtest/gtest.h>

using namespace workstation;
using namespace workstation::frame;

TEST(LogLevelMenuTest, NumbersAndNamesAreChoices) {
    EXPECT_EQ(ParseLogLevel("0"), 0U);
    EXPECT_EQ(ParseLogLevel("1"), 1U);
    EXPECT_EQ(ParseLogLevel("2"), 2U);
    EXPECT_EQ(ParseLogLevel("3"), 3U);
    EXPECT_EQ(ParseLogLevel("none"), 0U);
    EXPECT_EQ(ParseLogLevel("errors and notifications"), 1U);
    EXPECT_EQ(ParseLogLevel("notes"), 2U);
    EXPECT_EQ(ParseLogLevel("everything"), 3U);
}

TEST(LogLevelMenuTest, BlanksAroundAChoiceDoNotCount) {
    EXPECT_EQ(ParseLogLevel(" \t2\r\n"), 2U);
    EXPECT_EQ(ParseLogLevel("  notes "), 2U);
}

TEST(LogLevelMenuTest, AnythingElseIsNoLevel) {
    for (char const* const text : {"", " ", "4", "-1", "+1", "01", "1 2", "1.0", "0x1", "note",
                                   "Notes", "errors", "4294967296", "q"}) {
        EXPECT_FALSE(ParseLogLevel(text)) << text;
    }
}

TEST(LogLevelMenuTest, LevelIsDescribedByNumberAndName) {
    EXPECT_EQ(DescribeLogLevel(0), "0 (none)");
    EXPECT_EQ(DescribeLogLevel(3), "3 (everything)");
    EXPECT_EQ(DescribeLogLevel(4), "4");
    EXPECT_EQ(DescribeLogLevel(0xFFFFFFFF), "4294967295");
}

TEST(LogLevelMenuTest, MenuListsTheLevels) {
    EXPECT_EQ(LogLevelMenu("StreamMgr", 1), "Log level of StreamMgr: 1 (errors and notifications)\n"
                                            "  0  none\n"
                                            "  1  errors and notifications\n"
                                            "  2  notes\n"
                                            "  3  everything\n"
                                            "New log level: ");
}
