// The bits of a log level.
#pragma once

namespace workstation::log {

constexpr unsigned int errorsAndNotifications = 1;
constexpr unsigned int notes = 2;

// The largest level: every bit set.
constexpr unsigned int allLevels = errorsAndNotifications | notes;

} // namespace workstation::log
