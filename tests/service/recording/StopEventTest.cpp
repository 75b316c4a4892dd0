// The event that makes a recording stop.
#include "service/recording/StopEvent.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <thread>

#include "service/recording/InterruptingSignal.h"
#include "support/Event.h"

namespace {

using namespace std::chrono_literals;
using workstation::service::recording::StopEvent;

bool IsReadable(StopEvent const& stop) {
    pollfd event{stop.Descriptor(), POLLIN, 0};
    return poll(&event, 1, 0) == 1;
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

} // namespace
