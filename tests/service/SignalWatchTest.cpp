// Signals that wait to be taken.
#include "service/SignalWatch.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <csignal>

using workstation::service::SignalWatch;

namespace {

bool IsReadable(SignalWatch const& signals) {
    pollfd event{signals.Descriptor(), POLLIN, 0};
    return poll(&event, 1, 0) == 1;
}

bool IsBlocked(int signal) {
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, signal) == 1;
}

TEST(SignalWatchTest, SignalsAreTakenInsteadOfEndingTheProcess) {
    SignalWatch signals;
    EXPECT_FALSE(IsReadable(signals));
    EXPECT_FALSE(signals.Take());
    for (int const signal : {SIGTERM, SIGINT, SIGHUP}) {
        raise(signal);
        EXPECT_TRUE(IsReadable(signals));
        EXPECT_EQ(signals.Take(), signal);
        EXPECT_FALSE(signals.Take());
    }
}

TEST(SignalWatchTest, FormerMaskHoldsAgainAfterwards) {
    {
        SignalWatch const signals;
        EXPECT_TRUE(IsBlocked(SIGINT));
        EXPECT_TRUE(IsBlocked(SIGTERM));
        EXPECT_TRUE(IsBlocked(SIGHUP));
        EXPECT_FALSE(IsBlocked(SIGUSR1));
    }
    EXPECT_FALSE(IsBlocked(SIGINT));
    EXPECT_FALSE(IsBlocked(SIGTERM));
    EXPECT_FALSE(IsBlocked(SIGHUP));
}

} // namespace
