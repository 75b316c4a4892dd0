// What progress says.
#include "evidence/Progress.h"

using namespace workstation::evidence;

namespace {

TEST(ProgressTest, SaysShareRateAndRemainingTime) {
    EXPECT_EQ(DescribeProgress(0, 1000000000, 0), "0 %");
    EXPECT_EQ(DescribeProgress(0, 1000000000, 3), "0 %");
    EXPECT_EQ(DescribeProgress(250000000, 1000000000, 0.5), "25 %, 500 MB/s, 0:01 left");
    EXPECT_EQ(DescribeProgress(1000000, 1000000000, 1), "0 %, 1 MB/s, 16:39 left");
    EXPECT_EQ(DescribeProgress(1000000000, 1000000000, 2), "100 %, 500 MB/s, 0:00 left");
    EXPECT_EQ(DescribeProgress(0, 0, 0), "100 %");
}

TEST(ProgressTest, LineIsWrittenWhenItIsWantedOnly) {
    for (auto const& [when, isShown] :
         {std::pair(Progress::When::always, true), std::pair(Progress::When::never, false),
          std::pair(Progress::When::onTerminal, false)}) {
        testing::internal::CaptureStderr();
        {
            Progress progress(100, when);
            progress.Add(50);
        }
        std::string const shown = testing::internal::GetCapturedStderr();
        EXPECT_EQ(shown.find("50 %") != std::string::npos, isShown);
        EXPECT_EQ(shown.ends_with("\r\x1B[K"), isShown); // the line is gone at the end
    }
}

} // namespace
