// Entries of the platform and of the service in the log.
#pragma once

#include <string_view>

namespace workstation::log {

// Errors, and what the service was asked and by whom.
void LogNotification(std::string_view text);

// What helps to understand the rest.
void LogNote(std::string_view text);

} // namespace workstation::log
