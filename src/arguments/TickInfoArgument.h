// The argument of option --tickinfo.
#pragma once

#include <optional>
#include <string>

namespace arguments {

// <num>[,<mode>]
struct TickInfoArgument {
    int fileNumber;
    char mode; // 0 when omitted
};

// Parses the text and prints the mode on standard error. nullopt, after a note there, when nothing
// follows the comma. Neither the number nor the mode is checked.
std::optional<TickInfoArgument> ParseTickInfoArgument(std::string const& text);

} // namespace arguments
