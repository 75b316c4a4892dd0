// The bit rate of a recording over the last few seconds.
#include "service/recording/BitRate.h"

#include <gtest/gtest.h>

namespace {

using workstation::service::recording::BitRate;
using namespace std::chrono_literals;

constexpr std::size_t size = 12500; // 100,000 bits

class BitRateTest : public testing::Test {
protected:
    // So many times the size, one each 100 ms.
    void Add(int times) {
        for (int i = 0; i < times; ++i) {
            rate_.Add(size, now_);
            now_ += 100ms;
        }
    }

    BitRate rate_;
    BitRate::Time now_ = BitRate::Time() + 1h + 10ms;
};

TEST_F(BitRateTest, IsZeroBeforeTheFirstBytes) {
    EXPECT_EQ(rate_.At(now_), 0U);
}

TEST_F(BitRateTest, IsThatOfTheTimeSinceTheFirstBytes) {
    Add(20);
    EXPECT_EQ(rate_.At(now_), 1000000U);
}

// A datagram that has just come is no rate.
TEST_F(BitRateTest, OfTheFirstSecondIsTheBytesSoFar) {
    rate_.Add(size, now_);
    EXPECT_EQ(rate_.At(now_), 100000U);
    EXPECT_EQ(rate_.At(now_ + 999ms), 100000U);
    EXPECT_EQ(rate_.At(now_ + 2s), 50000U);
}

TEST_F(BitRateTest, IsConstantWhileTheSourceIs) {
    for (int i = 0; i < 200; ++i) {
        Add(1);
        if (i > 60) {
            EXPECT_NEAR(static_cast<double>(rate_.At(now_)), 1e6, 3e4) << i;
        }
    }
}

TEST_F(BitRateTest, FollowsAChangeWithinItsSpan) {
    Add(100);
    for (int i = 0; i < 100; ++i) {
        rate_.Add(3 * size, now_);
        now_ += 100ms;
    }
    EXPECT_NEAR(static_cast<double>(rate_.At(now_)), 3e6, 9e4);
}

TEST_F(BitRateTest, GoesDownToZeroInSilence) {
    Add(100);
    std::uint64_t last = rate_.At(now_);
    for (BitRate::Time const end = now_ + BitRate::span; now_ < end; now_ += 500ms) {
        EXPECT_LE(rate_.At(now_), last);
        last = rate_.At(now_);
    }
    EXPECT_EQ(rate_.At(now_), 0U);
    EXPECT_EQ(rate_.At(now_ + 24h), 0U);
}

// What came one round of the steps ago must not count.
TEST_F(BitRateTest, AfterASilenceIsThatOfWhatCameSince) {
    Add(100);
    now_ += 30s;
    Add(10);
    EXPECT_NEAR(static_cast<double>(rate_.At(now_)), 2e5, 2e4); // 1,000,000 bits in 5 s
}

TEST_F(BitRateTest, OfManyGigabitsIsCounted) {
    rate_.Add(5000000000, now_);
    EXPECT_EQ(rate_.At(now_), 40000000000U);
}

} // namespace
