// The log levels of a service as people choose them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace workstation::frame {

// The level that a number or a name stands for; blanks around it do not count.
std::optional<unsigned int> ParseLogLevel(std::string_view text);

// "1 (errors and notifications)"; only the number for a level that is none of the known.
std::string DescribeLogLevel(unsigned int level);

// What the menu shows before it waits for a choice.
std::string LogLevelMenu(std::string const& server, unsigned int present);

} // namespace workstation::frame
