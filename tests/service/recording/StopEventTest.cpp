// The event that makes a recording stop.
#include "service/recording/StopEvent.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <array>
#include <atomic>
#include <thread>

#include "service/recording/InterruptingSignal.h"
#include "support/Event.h"

namespace {

using namespace std::chrono_literals;
using workstation::service::recording::StopEvent;

bool IsReadable(StopEvent const& stop) {
    std::array<pollfd, 1> watched{};
    return stop.Poll(watched, 0) && watched[0].revents == POLLIN;
}

TEST(StopEvent, IsSetForGood) {
    StopEvent stop;
    EXPECT_FALSE(stop.IsSet());
    EXPECT_FALSE(IsReadable(stop));
    EXPECT_FALSE(stop.WaitFor(1ms));
    for (int times = 0; times < 2; ++times) {
        stop.Set();
        EXPECT_TRUE(stop.IsSet());
        EXPECT_TRUE(IsReadable(stop));
        EXPECT_TRUE(stop.WaitFor(std::chrono::milliseconds(patienceMs)));
    }
}

TEST(StopEvent, EndsAWait) {
    StopEvent stop;
    bool isSet = false;
    {
        std::jthread const waiting(
            [&] { isSet = stop.WaitFor(std::chrono::milliseconds(patienceMs)); });
        stop.Set();
    }
    EXPECT_TRUE(isSet);
}

TEST(StopEvent, SignalsDoNotEndAWait) {
    recording_test::InterruptingSignal const signal;
    StopEvent stop;
    std::atomic<bool> isSet = false;
    {
        std::jthread waiting(
            [&] { EXPECT_NO_THROW(isSet = stop.WaitFor(std::chrono::milliseconds(patienceMs))); });
        signal.Interrupt(waiting.native_handle());
        EXPECT_FALSE(isSet);
        stop.Set();
    }
    EXPECT_TRUE(isSet);
}

TEST(StopEvent, IsWaitedForTogetherWithOthers) {
    StopEvent stop;
    Event const event;
    std::array<pollfd, 2> watched{{{}, {event.SignalDescriptor(), POLLOUT, 0}}};
    EXPECT_TRUE(stop.Poll(watched, -1));
    EXPECT_EQ(watched[0].revents, 0);
    EXPECT_EQ(watched[1].revents, POLLOUT);
    stop.Set();
    watched[1].events = 0;
    EXPECT_TRUE(stop.Poll(watched, -1));
    EXPECT_EQ(watched[0].revents, POLLIN);
}

// --- whether the thread is stuck -----------------------------------------------------------------

using Heartbeat = workstation::service::supervision::Heartbeat;

bool IsStuckIn(StopEvent const& stop, std::chrono::seconds time) {
    return stop.ThreadsHeartbeat().IsStuck(Heartbeat::Clock::now() + time, 5s);
}

TEST(StopEvent, ThreadThatHasNotLookedAtItForLongIsStuck) {
    StopEvent const stop;
    EXPECT_FALSE(IsStuckIn(stop, 1h)) << "there is no thread yet";
    EXPECT_FALSE(stop.IsSet());
    EXPECT_FALSE(IsStuckIn(stop, 1s));
    EXPECT_TRUE(IsStuckIn(stop, 6s));
    EXPECT_FALSE(stop.IsSet());
    EXPECT_FALSE(IsStuckIn(stop, 1s));
    stop.ThreadEnds();
    EXPECT_FALSE(IsStuckIn(stop, 1h));
}

TEST(StopEvent, ThreadThatWaitsForItIsNotStuckUntilTheWaitIsOver) {
    StopEvent stop;
    std::jthread const waiting([&] { stop.WaitFor(60s); });
    auto const isWaiting = [&] { return IsStuckIn(stop, 1h) && !IsStuckIn(stop, 50s); };
    while (!isWaiting()) { // a state of the thread, for which there is no event
        std::this_thread::yield();
    }
    EXPECT_FALSE(IsStuckIn(stop, 60s));
    EXPECT_TRUE(IsStuckIn(stop, 70s));
    stop.Set();
}

} // namespace
