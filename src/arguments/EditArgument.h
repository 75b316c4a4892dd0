// The argument of option -e.
#pragma once

#include <optional>
#include <string>

namespace arguments {

// <num>,<tickfirst>-<ticklast>; a tick that is omitted is 0.
struct EditArgument {
    int fileNumber;
    int firstTick;
    int lastTick;
};

// Parses the text and prints its parts on standard error. nullopt, after a note there, when the
// comma or the dash is missing. The numbers are not checked.
std::optional<EditArgument> ParseEditArgument(std::string const& text);

} // namespace arguments
