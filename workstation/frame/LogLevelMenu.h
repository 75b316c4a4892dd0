// The menu of log levels.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace workstation::frame {

// What the menu shows before the user chooses.
std::string LogLevelMenu(std::string const& server, unsigned int present);

// The level that the user has chosen by its number or its name, with or without blanks around it.
// Empty for any other text.
std::optional<unsigned int> ParseLogLevel(std::string_view text);

// "1 (errors and notifications)"; the number alone for a level that has no name.
std::string DescribeLogLevel(unsigned int level);

} // namespace workstation::frame
