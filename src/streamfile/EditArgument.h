// The argument of option -e.
#pragma once

#include <optional>
#include <string>

namespace streamfile {

// <num>,<tickfirst>-<ticklast>; a tick that is omitted, or given as 0, is 0.
struct EditArgument {
    int fileNum;
    int firsttick;
    int lasttick;
};

// Takes the text apart and shows the parts on standard error. None when the comma or the dash is
// missing, after a note that says so. Nothing else is checked.
std::optional<EditArgument> ParseEditArgument(std::string const& text);

} // namespace streamfile
