// A day of a camera whose clock drifts and which delivers in bursts: ticks stay with the clock.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <fstream>
#include <random>
#include <vector>

#include "service/recording/TickClock.h"
#include "ts/TestStream.h"

namespace {

using namespace workstation;
using namespace workstation::service::recording;
using namespace std::chrono_literals;

using Seconds = std::chrono::duration<double>;

constexpr Seconds day = 24h;

// The PCR of the clip, in units, counted from the first one, about ten in a second.
std::vector<std::uint64_t> PcrOfTheClip() {
    std::ifstream file(CLIP, std::ios::binary);
    std::vector<std::uint64_t> pcrs;
    ts::PcrClock clock;
    std::array<unsigned char, ts::tsPacketSize> packet{};
    while (file.read(reinterpret_cast<char*>(packet.data()), packet.size())) {
        clock.See(packet);
        if (pcrs.empty() || clock.Elapsed() >= pcrs.back() + ts::PcrClock::unitsPerSecond / 10) {
            pcrs.push_back(clock.Elapsed());
        }
    }
    return pcrs;
}

class TickDayTest : public testing::TestWithParam<double> {
protected:
    // Lets what the clip has in one run arrive, so many units after the beginning of the stream.
    void Play(std::vector<std::uint64_t> const& clip, std::uint64_t start) {
        for (std::size_t i = 1; i < clip.size(); ++i) {
            std::uint64_t const pcr = start + clip[i];
            Seconds const sent(static_cast<double>(pcr) / ts::PcrClock::unitsPerSecond /
                               GetParam());
            Arrive(pcr, AfterAStall(sent));
        }
    }

    // When something arrives that is sent at that time: now and then nothing comes for up to 0.8
    // seconds, then all of it at once.
    Seconds AfterAStall(Seconds sent) {
        if (sent > stallEnd_ && random_() % 1000 == 0) {
            stallEnd_ = sent + Seconds(static_cast<double>(random_() % 800) / 1000);
        }
        return std::max(sent, stallEnd_);
    }

    void Arrive(std::uint64_t pcr, Seconds time) {
        auto const now = start_ + std::chrono::duration_cast<RecordingClock::Time::duration>(time);
        double const wall = startTime_ + time.count();
        auto const wallNow =
            RecordingClock::WallTime() +
            std::chrono::duration_cast<RecordingClock::WallTime::duration>(Seconds(wall));
        clock_.PacketsArrive(now, wallNow);
        auto const packet = ts_test::PcrPacket(pcr % (ts::PcrClock::unitsPerSecond * 26000));
        clock_.See(std::span(packet).first<ts::tsPacketSize>());
        for (; clock_.IsDue(); ++ticks_) {
            int const tick = clock_.Take();
            worst_ = std::max(worst_, std::abs(tick - wall));
            EXPECT_GE(tick, last_);
            last_ = tick;
        }
    }

    RecordingClock::Time const start_ = RecordingClock::Time() + 1h;
    double const startTime_ = 1000000.25;
    TickClock clock_;
    std::mt19937 random_;
    Seconds stallEnd_{};
    double worst_ = 0; // seconds between a tick and the clock
    int ticks_ = 0;
    int last_ = 0;
};

TEST_P(TickDayTest, TicksAreLessThanASecondFromTheClockAndTwentyASecond) {
    auto const clip = PcrOfTheClip();
    ASSERT_GT(clip.size(), 30U);
    auto const wanted =
        static_cast<std::uint64_t>(day.count() * GetParam()) * ts::PcrClock::unitsPerSecond;
    for (std::uint64_t start = 0; start < wanted; start += clip.back()) {
        Play(clip, start);
    }
    EXPECT_LT(worst_, 1);
    EXPECT_NEAR(ticks_, day.count() * ts::TickInserter::usualRate, 5 * ts::TickInserter::usualRate);
}

INSTANTIATE_TEST_SUITE_P(Pace, TickDayTest, testing::Values(0.9999, 1.0001));

} // namespace
