// STREAM=SOURCE is taken apart, and refused with a reason when it is something else.
#include "service/recording/RecordOption.h"

#include <gtest/gtest.h>

namespace {

using namespace workstation;
using namespace workstation::service;
using namespace workstation::service::recording;

TEST(RecordOption, StreamsAndSourcesAreTakenInTheirOrder) {
    std::string error;
    auto const options = ParseRecordOptions({"4=-", "1=/tmp/a=b.ts", "3=relative file"}, error);
    std::vector<RecordOption> const expected = {{4, "-"}, {1, "/tmp/a=b.ts"}, {3, "relative file"}};
    EXPECT_EQ(options, expected) << error;
}

TEST(RecordOption, NothingIsNothingToRecord) {
    std::string error;
    EXPECT_EQ(ParseRecordOptions({}, error), std::vector<RecordOption>());
}

TEST(RecordOption, FilesMayBeRecordedTwice) {
    std::string error;
    EXPECT_TRUE(ParseRecordOptions({"1=a.ts", "2=a.ts"}, error)) << error;
}

struct Refusal {
    std::vector<std::string> texts;
    std::string error;
};

class RefusedRecordOption : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedRecordOption, SaysWhatIsWrong) {
    std::string error;
    EXPECT_FALSE(ParseRecordOptions(GetParam().texts, error));
    EXPECT_EQ(error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Table, RefusedRecordOption,
    testing::Values(Refusal{{""}, "'' is not STREAM=SOURCE"},
                    Refusal{{"clip.ts"}, "'clip.ts' is not STREAM=SOURCE"},
                    Refusal{{"1"}, "'1' is not STREAM=SOURCE"},
                    Refusal{{"=a.ts"}, "'=a.ts': the stream is a number from 1 to 4"},
                    Refusal{{"0=a.ts"}, "'0=a.ts': the stream is a number from 1 to 4"},
                    Refusal{{"5=a.ts"}, "'5=a.ts': the stream is a number from 1 to 4"},
                    Refusal{{"-1=a.ts"}, "'-1=a.ts': the stream is a number from 1 to 4"},
                    Refusal{{"01=a.ts"}, "'01=a.ts': the stream is a number from 1 to 4"},
                    Refusal{{"1 =a.ts"}, "'1 =a.ts': the stream is a number from 1 to 4"},
                    Refusal{{"x=a.ts"}, "'x=a.ts': the stream is a number from 1 to 4"},
                    Refusal{{"1="}, "'1=': the source is missing"},
                    Refusal{{"1=a.ts", "2=b.ts", "1=c.ts"}, "stream 1 has two sources"},
                    Refusal{{"1=-", "2=b.ts", "3=-"},
                            "standard input is the source of two streams"}));

} // namespace
