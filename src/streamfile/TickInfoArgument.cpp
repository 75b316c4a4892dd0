// The argument of option --tickinfo.
#include "TickInfoArgument.h"

#include <iostream>

#include "../common/Int32.h"

namespace streamfile {

std::optional<TickInfoArgument> ParseTickInfoArgument(std::string const& text) {
    TickInfoArgument argument{device::ParseInt32(text.c_str()), 0};
    auto const comma = text.find(',');
    if (comma == std::string::npos) {
        return argument;
    }
    if (comma + 1 == text.size()) {
        // The note ends without a newline; it always has.
        std::cerr << "NOTE: use a comma, but no spaces between file number tickinfo option";
        return std::nullopt;
    }
    argument.mode = text[comma + 1];
    std::cerr << "SECONDARY option = [" << argument.mode << "]" << std::endl;
    return argument;
}

} // namespace streamfile
