// The time of day of a recording, which never goes back.
#pragma once

#include <optional>

#include "service/recording/RecordingClock.h"

namespace workstation::service::recording {

// Follows the system's time of day, forward at once. After that was set back, it advances at half
// the pace until the system's has caught up.
class TimeOfDay {
public:
    // The time of day at a moment. The moments never go back, while `wall` may be set.
    RecordingClock::WallTime At(RecordingClock::Time steady, RecordingClock::WallTime wall);

private:
    struct Moment {
        RecordingClock::Time steady;
        RecordingClock::WallTime time;
    };
    std::optional<Moment> last_; // null before the first call
};

} // namespace workstation::service::recording
