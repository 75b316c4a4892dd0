// Times as people write them: which instant they name in which zone.
#include "evidence/TimeArgument.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace workstation::evidence {
namespace {

// 2026-11-22 23:30:00 UTC, in Berlin the next day.
constexpr std::int64_t now = 1795390200;

class TimeArgumentTest : public testing::Test {
protected:
    TimeArgumentTest() { Zone("CET-1CEST,M3.5.0,M10.5.0/3"); }
    ~TimeArgumentTest() override {
        unsetenv("TZ");
        tzset();
    }

    static void Zone(char const* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }

    static void Expect(std::string const& text, std::int64_t seconds) {
        EXPECT_EQ(ParseTime(text, now), seconds) << text;
    }
    static void ExpectInvalid(std::string const& text) {
        EXPECT_EQ(ParseTime(text, now), std::nullopt) << text;
    }
};

TEST_F(TimeArgumentTest, LocalTimeHasTheDifferenceOfItsDate) {
    Expect("1970-01-01 01:00:00", 0);
    Expect("2026-07-01 14:05:10", 1782907510);
    Expect("2026-11-23 00:30:00", now);
    Expect("1969-12-31 23:59:59", -3601);
}

TEST_F(TimeArgumentTest, ZMeansUtc) {
    Expect("1970-01-01 00:00:00Z", 0);
    Expect("2026-11-22 23:30:00Z", now);
}

TEST_F(TimeArgumentTest, TimeWithoutDateIsOfTodayInItsZone) {
    Expect("00:30", now);
    Expect("00:30:05", now + 5);
    Expect("23:30Z", now);
    Expect("23:30:07Z", now + 7);
}

TEST_F(TimeArgumentTest, SecondsSinceTheEpoch) {
    Expect("@0", 0);
    Expect("@1795390200", now);
    Expect("@-5", -5);
}

TEST_F(TimeArgumentTest, SkippedTimeIsInvalid) {
    Expect("2026-03-29 01:59:59", 1774745999);
    ExpectInvalid("2026-03-29 02:00:00");
    ExpectInvalid("2026-03-29 02:59:59");
    Expect("2026-03-29 03:00:00", 1774746000);
}

TEST_F(TimeArgumentTest, OfATimeThatOccursTwiceItIsTheFirst) {
    Expect("2026-10-25 01:59:59", 1792886399);
    Expect("2026-10-25 02:00:00", 1792886400);
    Expect("2026-10-25 02:59:59", 1792889999);
    Expect("2026-10-25 03:00:00", 1792893600);
}

TEST_F(TimeArgumentTest, ZonesWestOfUtcAndHalfHours) {
    Zone("EST5EDT,M3.2.0,M11.1.0");
    Expect("1969-12-31 19:00:00", 0);
    ExpectInvalid("2026-03-08 02:30:00");
    Expect("2026-11-01 01:30:00", 1793511000);
    Zone("IST-5:30");
    Expect("1970-01-01 05:30:00", 0);
}

TEST_F(TimeArgumentTest, WhatIsNoTimeIsInvalid) {
    for (char const* const text : {"",
                                   "Z",
                                   "@",
                                   "@1x",
                                   "@ 1",
                                   "@+1",
                                   "@99999999999999999999",
                                   "now",
                                   "1:30",
                                   "24:00",
                                   "12:60",
                                   "12:00:60",
                                   "12:00:",
                                   "12:00 ",
                                   " 12:00",
                                   "12:00z",
                                   "2026-11-22",
                                   "2026-11-22 12:00",
                                   "2026-11-22T12:00:00",
                                   "2026-13-01 12:00:00",
                                   "2026-00-01 12:00:00",
                                   "2026-02-29 12:00:00",
                                   "2026-11-31 12:00:00",
                                   "26-11-22 12:00:00",
                                   "2026-11-22  12:00:00",
                                   "2026-11-22 12:00:00 Z",
                                   "2026-11-22 12:00:00ZZ",
                                   "-026-11-22 12:00:00"}) {
        ExpectInvalid(text);
    }
    Expect("2028-02-29 12:00:00Z", 1835438400);
}

} // namespace
} // namespace workstation::evidence
