// The bit rate of a recording over the last few seconds.
#include "service/recording/BitRate.h"

#include <algorithm>

namespace workstation::service::recording {

void BitRate::Add(std::size_t size, Time now) {
    std::int64_t const current = now.time_since_epoch() / step;
    Share& share = shares_[static_cast<std::size_t>(current) % stepCount];
    if (share.step != current) {
        share = {current, 0};
    }
    share.size += size;
    if (!first_) {
        first_ = now;
    }
}

std::uint64_t BitRate::At(Time now) const {
    if (!first_) {
        return 0;
    }
    std::int64_t const current = now.time_since_epoch() / step;
    std::int64_t const oldest = current - static_cast<std::int64_t>(stepCount) + 1;
    std::uint64_t size = 0;
    for (Share const& share : shares_) {
        size += share.step >= oldest ? share.size : 0;
    }
    constexpr Time::duration shortest = std::chrono::seconds(1);
    Time::duration const covered = now - std::max(*first_, Time(oldest * step));
    std::chrono::duration<double> const seconds = std::max(covered, shortest);
    return static_cast<std::uint64_t>(static_cast<double>(size) * 8 / seconds.count());
}

} // namespace workstation::service::recording
