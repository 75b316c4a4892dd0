// The bit rate of a recording over the last few seconds.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "service/recording/RecordingClock.h"

namespace workstation::service::recording {

// An average over the last 5 s, or over the time since the first bytes, but never over less than
// a second. 0 once nothing has come for 5 s.
class BitRate {
public:
    using Time = RecordingClock::Time;

    static constexpr std::chrono::seconds span{5};

    // So many bytes have come. Times never go back.
    void Add(std::size_t size, Time now);

    // In bits per second.
    std::uint64_t At(Time now) const;

private:
    static constexpr std::chrono::milliseconds step{250};
    static constexpr std::size_t stepCount = span / step;

    // The bytes of one step.
    struct Share {
        std::int64_t step = 0; // counted from the epoch of the clock
        std::uint64_t size = 0;
    };

    std::array<Share, stepCount> shares_{}; // the latest steps, each at its number modulo stepCount
    std::optional<Time> first_;             // the first bytes
};

} // namespace workstation::service::recording
