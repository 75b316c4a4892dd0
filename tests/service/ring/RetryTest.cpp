// What fails in a recording is repeated, and logged once.
#include "service/ring/Retry.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "support/LogFile.h"
#include "support/TemporaryRoot.h"

using namespace workstation::service;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class RetryTest : public testing::Test {
protected:
    TemporaryRoot root_;
    LogFile log_{root_.Path() / "log"};
    recording::StopEvent stop_;
    recording::RecordingStatus status_{{3, "-"}};
    ring::Retry retry_{3, stop_, status_};
};

TEST_F(RetryTest, SuccessIsNotLogged) {
    EXPECT_EQ(retry_.Insist("count", [] { return 7; }), 7);
    EXPECT_THAT(log_.Entries(), IsEmpty());
}

TEST_F(RetryTest, FailureIsRepeatedAndItsFirstReasonIsLogged) {
    int tries = 0;
    EXPECT_EQ(retry_.Insist("count",
                            [&] {
                                if (++tries < 4) {
                                    throw std::runtime_error("reason " + std::to_string(tries));
                                }
                                return tries;
                            }),
              4);
    EXPECT_THAT(log_.Entries(), ElementsAre("stream 3: cannot count: reason 1"));
}

TEST_F(RetryTest, LatestReasonIsTheProblemUntilTheOperationSucceeds) {
    std::vector<std::string> problems;
    retry_.Insist("count", [&] {
        problems.push_back(status_.At({}).problem);
        if (problems.size() < 3) {
            throw std::runtime_error("reason " + std::to_string(problems.size()));
        }
    });
    problems.push_back(status_.At({}).problem);
    EXPECT_THAT(problems, ElementsAre("", "cannot count: reason 1", "cannot count: reason 2", ""));
}

TEST_F(RetryTest, StopEndsTheRepetitionWithTheFailure) {
    int tries = 0;
    EXPECT_THROW(retry_.Insist("count",
                               [&] {
                                   if (++tries == 2) {
                                       stop_.Set();
                                   }
                                   throw std::out_of_range("no room");
                               }),
                 std::out_of_range);
    EXPECT_EQ(tries, 2);
    EXPECT_THAT(log_.Entries(), ElementsAre("stream 3: cannot count: no room"));
}

TEST_F(RetryTest, NextTryIsNotWaitedForOnceTheRecordingIsToStop) {
    EXPECT_TRUE(retry_.WaitForNextTry());
    stop_.Set();
    EXPECT_FALSE(retry_.WaitForNextTry());
}

} // namespace
