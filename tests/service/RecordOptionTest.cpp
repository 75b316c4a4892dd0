// The arguments of --record, and why they are refused.
#include "service/RecordOption.h"

#include <gtest/gtest.h>

#include "support/FailureOf.h"

namespace {

using namespace workstation;
using namespace workstation::service;

using Recordings = std::vector<recording::RecordingSettings>;

TEST(RecordOption, StreamsAndSourcesAreTakenInTheirOrder) {
    EXPECT_EQ(ParseRecordOptions({"4=-", "1=/tmp/a=b.ts", "3=relative file"}),
              (Recordings{{4, "-"}, {1, "/tmp/a=b.ts"}, {3, "relative file"}}));
}

TEST(RecordOption, NoArgumentIsNothingToRecord) {
    EXPECT_EQ(ParseRecordOptions({}), Recordings());
}

TEST(RecordOption, FilesMayBeRecordedTwice) {
    EXPECT_EQ(ParseRecordOptions({"1=a.ts", "2=a.ts"}), (Recordings{{1, "a.ts"}, {2, "a.ts"}}));
}

struct Refusal {
    std::vector<std::string> texts;
    std::string error;
};

class RefusedRecordOption : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedRecordOption, SaysWhatIsWrong) {
    auto const parse = [] { ParseRecordOptions(GetParam().texts); };
    EXPECT_EQ(FailureOf(parse), GetParam().error);
    EXPECT_EQ(ErrorOf(parse), EINVAL);
}

INSTANTIATE_TEST_SUITE_P(
    Table, RefusedRecordOption,
    testing::Values(
        Refusal{{""}, "'' is not STREAM=SOURCE"},
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
        Refusal{{"5=exec:camera secret"}, "'5=exec:camera': the stream is a number from 1 to 4"},
        Refusal{{"exec:camera secret"}, "'exec:camera' is not STREAM=SOURCE"},
        Refusal{{"1=exec:"}, "'1=exec:': the source is missing"},
        Refusal{{"1=a.ts", "2=b.ts", "1=c.ts"}, "stream 1 has two sources"},
        Refusal{{"1=-", "2=b.ts", "3=-"}, "standard input is the source of two streams"}));

} // namespace
