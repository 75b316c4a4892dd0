// Entries of the service in the log.
#pragma once

#include <string_view>

namespace workstation {

// Errors, and what was asked and by whom.
void LogNotification(std::string_view text);

// What helps to understand the rest.
void LogNote(std::string_view text);

} // namespace workstation
