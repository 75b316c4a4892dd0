// The argument of option --ratf as a value. RatfOptionTest holds what is printed.
#include "arguments/RatfArgument.h"

#include <ctime>

#include "fakes/SeamTest.h"

namespace {

using arguments::ParseRatfArgument;
using arguments::RatfArgument;
using arguments::RatfError;

class RatfArgumentTest : public SeamTest {
protected:
    RatfArgumentTest() {
        setenv("TZ", "UTC0", 1);
        tzset();
    }
    ~RatfArgumentTest() override {
        unsetenv("TZ");
        tzset();
    }

    static void ExpectError(std::string const& text, RatfError error) {
        auto const parsed = ParseRatfArgument(text);
        auto const* const found = std::get_if<RatfError>(&parsed);
        ASSERT_NE(found, nullptr) << text;
        EXPECT_EQ(*found, error) << text;
    }
};

// 4 July 2009, noon and a minute past, in UTC.
constexpr long noon = 1246708800;
constexpr long minutePast = noon + 60;
std::string const times = "070409-120000,070409-120100";

TEST_F(RatfArgumentTest, HasItsTimesAndTheStreamsOfItsCode) {
    struct Case {
        char const* code;
        int streams;
    };
    for (Case const& row : {Case{"", 3}, Case{",c", 1}, Case{",r", 0}, Case{",rc", 1},
                            Case{",cr", 0}, Case{",x,c", 1}, Case{", r", 0}}) {
        auto const parsed = ParseRatfArgument(times + row.code);
        auto const* const argument = std::get_if<RatfArgument>(&parsed);
        ASSERT_NE(argument, nullptr) << row.code;
        EXPECT_EQ(argument->startSeconds, noon) << row.code;
        EXPECT_EQ(argument->stopSeconds, minutePast) << row.code;
        EXPECT_EQ(static_cast<int>(argument->streams), row.streams) << row.code;
    }
}

TEST_F(RatfArgumentTest, OtherCodeIsAnErrorWhateverTheTimes) {
    for (char const* const code : {",", ",x", ",C", ",c ", ",c,"}) {
        ExpectError(times + code, RatfError::code);
    }
    ExpectError("nothing,nothing,x", RatfError::code);
}

TEST_F(RatfArgumentTest, MissingOrImpossibleTimeIsAnError) {
    for (char const* const text : {"", "070409-120000", ",", "070409-120000,", ",070409-120100",
                                   "130109-120000,070409-120100", "070409-120000,nothing,c",
                                   "070409-120000,011938-031408"}) {
        ExpectError(text, RatfError::times);
    }
}

} // namespace
