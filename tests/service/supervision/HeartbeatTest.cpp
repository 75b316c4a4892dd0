// Whether a thread makes progress.
#include "service/supervision/Heartbeat.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using workstation::service::supervision::Heartbeat;

TEST(Heartbeat, ThreadThatDoesNotRunIsNotStuck) {
    Heartbeat heartbeat;
    auto const now = Heartbeat::Clock::now();
    EXPECT_FALSE(heartbeat.IsStuck(now + 1h, 1s));
    heartbeat.Works();
    heartbeat.Rests();
    EXPECT_FALSE(heartbeat.IsStuck(now + 1h, 1s));
}

TEST(Heartbeat, ThreadThatWorksLongerThanTheLimitIsStuck) {
    Heartbeat heartbeat;
    heartbeat.Works();
    auto const now = Heartbeat::Clock::now(); // at most a moment later
    EXPECT_FALSE(heartbeat.IsStuck(now, 1s));
    EXPECT_TRUE(heartbeat.IsStuck(now + 1s + 1ms, 1s));
    EXPECT_FALSE(heartbeat.IsStuck(now + 1s + 1ms, 1h));
}

TEST(Heartbeat, TimeThatIsWaitedForDoesNotCount) {
    Heartbeat heartbeat;
    auto const now = Heartbeat::Clock::now();
    heartbeat.WaitsUntil(now + 1min);
    EXPECT_FALSE(heartbeat.IsStuck(now + 1min, 1s));
    EXPECT_FALSE(heartbeat.IsStuck(now + 1min + 1s, 1s));
    EXPECT_TRUE(heartbeat.IsStuck(now + 1min + 1s + 1ms, 1s));
    heartbeat.WaitsUntil(Heartbeat::Time::max());
    EXPECT_FALSE(heartbeat.IsStuck(now + 100h, 1s));
}

} // namespace
