// What the tool relies on in the parsing of times.
#include "MyStrptime.h"

#include <gtest/gtest.h>

#include <string>

#include "contract/Scene.h"

namespace {

constexpr char const* format = "%m%d%y-%H%M%S"; // the tool's only one

class MyStrptimeContract : public testing::Test {
protected:
    MyStrptimeContract() {
        time_.tm_isdst = -1;
        time_.tm_gmtoff = 4711;
    }

    // The text that was not parsed; "null" when the text does not fit the format.
    std::string Rest(char const* text) {
        char const* const rest = MyStrptime::mystrptime(text, format, &time_);
        return rest == nullptr ? "null" : rest;
    }

    Scene scene_;
    tm time_{};
};

TEST_F(MyStrptimeContract, EveryFieldOfTheFormatIsStored) {
    EXPECT_EQ(Rest("123124-235958"), "");
    EXPECT_EQ(time_.tm_mon, 11);
    EXPECT_EQ(time_.tm_mday, 31);
    EXPECT_EQ(time_.tm_year, 124);
    EXPECT_EQ(time_.tm_hour, 23);
    EXPECT_EQ(time_.tm_min, 59);
    EXPECT_EQ(time_.tm_sec, 58);
}

TEST_F(MyStrptimeContract, FieldsThatTheFormatDoesNotNameStayAsTheyAre) {
    EXPECT_EQ(Rest("010203-040506"), "");
    EXPECT_EQ(time_.tm_isdst, -1);
    EXPECT_EQ(time_.tm_gmtoff, 4711);
    time_.tm_year = 99;
    char const* const rest = MyStrptime::mystrptime("07", "%M", &time_);
    ASSERT_NE(rest, nullptr);
    EXPECT_EQ(time_.tm_min, 7);
    EXPECT_EQ(time_.tm_hour, 4);
    EXPECT_EQ(time_.tm_year, 99);
}

TEST_F(MyStrptimeContract, YearsOfTwoDigitsAreThoseFrom1969To2068) {
    EXPECT_EQ(Rest("010169-000000"), "");
    EXPECT_EQ(time_.tm_year, 69);
    EXPECT_EQ(Rest("010168-000000"), "");
    EXPECT_EQ(time_.tm_year, 168);
}

TEST_F(MyStrptimeContract, RestOfTheTextIsReturned) {
    EXPECT_EQ(Rest("010203-040506,"), ",");
    EXPECT_EQ(Rest("010203-0405067"), "7");
    EXPECT_EQ(time_.tm_sec, 6);
}

TEST_F(MyStrptimeContract, TextThatDoesNotFitIsNull) {
    for (char const* const text : {"", "x", "0102xx-040506", "130103-040506", "013203-040506",
                                   "010203-240506", "010203 040506", "010203-0405"}) {
        EXPECT_EQ(Rest(text), "null") << text;
    }
}

} // namespace
