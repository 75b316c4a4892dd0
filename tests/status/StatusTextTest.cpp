// The status of the service in words.
#include "status/StatusText.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace workstation::status {
namespace {

using State = StreamStatus::State;
using testing::ElementsAre;
using testing::IsEmpty;

class StatusTextTest : public testing::Test {
protected:
    StatusTextTest() { setenv("TZ", "UTC", 1); }
    ~StatusTextTest() override { unsetenv("TZ"); }
};

TEST_F(StatusTextTest, OfAStreamHasEveryFact) {
    EXPECT_EQ(Describe(StreamStatus{4, "udp://127.0.0.1:5000", true, State::recording, 1000000,
                                    10045000, 3, 564, 17, ""}),
              "stream 4: source udp://127.0.0.1:5000, state recording, last packet 1970-01-12 "
              "13:46:40 UTC, bit rate 10.04 Mbit/s, restarts 3, bytes dropped 564, slot 17");
    EXPECT_EQ(Describe(StreamStatus{1, "a.ts", false, State::waiting, {}, 0, 0, 0, {}, ""}),
              "stream 1: source a.ts, state waiting, last packet -, bit rate 0.00 Mbit/s, restarts "
              "0, bytes dropped 0, slot -");
}

TEST_F(StatusTextTest, FactsHaveTheSameNamesForEachStream) {
    auto const some = FactsOf(StreamStatus{});
    auto const others = FactsOf(StreamStatus{1, "x", true, State::ended, 1, 2, 3, 4, 5, "six"});
    ASSERT_EQ(some.size(), others.size());
    for (std::size_t i = 0; i < some.size(); ++i) {
        EXPECT_EQ(some[i].name, others[i].name);
        EXPECT_EQ(some[i].isNumber, others[i].isNumber);
    }
}

TEST_F(StatusTextTest, SourceStaysOnItsLine) {
    StreamStatus stream;
    stream.source = "a\nb\x1B[2J\x7F.ts";
    EXPECT_EQ(FactsOf(stream)[1].value, "a?b?[2J?.ts");
}

TEST_F(StatusTextTest, OfTheStorageHasShares) {
    EXPECT_EQ(Describe(StorageStatus{400, 100, 300}),
              "total 400 KiB, buffer 100 KiB (25.0 %), free 300 KiB (75.0 %)");
    EXPECT_EQ(Describe(StorageStatus{}), "total 0 KiB, buffer 0 KiB (0.0 %), free 0 KiB (0.0 %)");
}

TEST_F(StatusTextTest, OfTheServiceHasItsProcessAndReasons) {
    ServiceStatus status;
    status.process = 17;
    status.upSeconds = 3600;
    EXPECT_EQ(DescribeProcess(status), "process 17, up 3600 s");
    EXPECT_THAT(DescribeDegradation(status), IsEmpty());
    status.problem = "no disk";
    EXPECT_THAT(DescribeDegradation(status), ElementsAre("degraded: no disk"));
}

} // namespace
} // namespace workstation::status
