// Log entries of the platform and of the service.
#pragma once

#include <string_view>

namespace workstation::log {

// Errors, and requests with their senders.
void LogNotification(std::string_view text);

// Details that help to understand the rest.
void LogNote(std::string_view text);

} // namespace workstation::log
