// When the system ticks of a recording are due, and which time they carry.
#include "service/recording/TickClock.h"

#include <algorithm>
#include <utility>

namespace workstation::service::recording {
namespace {

using namespace std::chrono_literals;

constexpr auto longestPause = 1s;
constexpr auto longestLag = 1s;     // of either clock after the other
constexpr auto timeToCatchUp = 20s; // so slewing changes the pace by at most 5 %

} // namespace

void TickClock::PacketsArrive(Time now, WallTime wallNow) {
    lag_ = now_ - stream_;
    origin_ = origin_.value_or(now);
    auto const before = std::exchange(now_, std::chrono::floor<Units>(now - *origin_));
    arrival_ = timeOfDay_.At(now, wallNow);
    if (restarts_ || now_ - (followsStream_ ? next_ : before) > longestPause) {
        Restart();
    }
}

void TickClock::See(ts::TsPacketView packet) {
    auto const before = pcr_.Elapsed();
    pcr_.See(packet);
    Units const step(pcr_.Elapsed() - before);
    stream_ += step;
    if (!followsStream_) {
        stream_ += step * lag_.count() / Units(timeToCatchUp).count();
        stream_ = std::clamp<Units>(stream_, now_ - longestLag, now_ + longestLag);
    }
}

int TickClock::Take() {
    auto const streamTime =
        restartTime_ + std::chrono::floor<std::chrono::seconds>(next_ - restart_);
    last_ = std::max(last_, followsStream_ ? streamTime : arrival_);
    next_ += tickDistance;
    return static_cast<int>(std::chrono::system_clock::to_time_t(last_));
}

void TickClock::Restart() {
    restarts_ = false;
    pcr_ = {};
    lag_ = {};
    stream_ = next_ = restart_ = now_;
    restartTime_ = std::chrono::floor<std::chrono::seconds>(arrival_);
}

} // namespace workstation::service::recording
