// The time of day of a recording, which never goes back.
#include "service/recording/TimeOfDay.h"

#include <algorithm>

namespace workstation::service::recording {

RecordingClock::WallTime TimeOfDay::At(RecordingClock::Time steady, RecordingClock::WallTime wall) {
    if (last_) {
        auto const passed = steady - last_->steady;
        auto const slow = last_->time + passed / 2;
        wall = std::max(wall, std::chrono::time_point_cast<decltype(wall)::duration>(slow));
    }
    last_ = {steady, wall};
    return wall;
}

} // namespace workstation::service::recording
