// The argument of option --tickinfo.
#include "arguments/TickInfoArgument.h"

#include <iostream>

#include "common/Int32.h"

namespace arguments {

std::optional<TickInfoArgument> ParseTickInfoArgument(std::string const& text) {
    TickInfoArgument argument{common::ParseInt32(text.c_str()), 0};
    auto const comma = text.find(',');
    if (comma == std::string::npos) {
        return argument;
    }
    if (comma + 1 == text.size()) {
        // Deliberate: no newline after the note.
        std::cerr << "NOTE: use a comma, but no spaces between file number tickinfo option";
        return std::nullopt;
    }
    argument.mode = text[comma + 1];
    std::cerr << "SECONDARY option = [" << argument.mode << "]" << std::endl;
    return argument;
}

} // namespace arguments
