// The argument of option --tickinfo.
#pragma once

#include <optional>
#include <string>

namespace streamfile {

// <num>[,<mode>]; without a mode it is 0.
struct TickInfoArgument {
    int fileNum;
    char mode;
};

// Takes the text apart and shows the mode on standard error. None, after a note, when nothing
// follows the comma. Nothing else is checked.
std::optional<TickInfoArgument> ParseTickInfoArgument(std::string const& text);

} // namespace streamfile
