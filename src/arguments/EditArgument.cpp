// The argument of option -e.
#include "arguments/EditArgument.h"

#include <iostream>

#include "common/Int32.h"

namespace arguments {

std::optional<EditArgument> ParseEditArgument(std::string const& text) {
    std::cerr << "complete option string = [" << text << "]" << std::endl;
    auto const comma = text.find(',');
    if (comma == std::string::npos) {
        std::cerr << "NOTE: a comma is required between the file number and the range of ticks to "
                     "delete."
                  << std::endl;
        return std::nullopt;
    }
    // Deliberate: searched from the start, so that a dash in the file number is the separator.
    auto const dash = text.find('-');
    if (dash == std::string::npos) {
        std::cerr << "NOTE: a dash is required between the first tick (if any) and last tick (if "
                     "any)"
                  << std::endl
                  << "      in the range of ticks to delete. At least one of the first tick, and "
                     "the"
                  << std::endl
                  << "      last tick are required. The dash is always required." << std::endl;
        return std::nullopt;
    }
    std::cerr << "comma position = " << comma << std::endl
              << "dash position = " << dash << std::endl;

    std::string const number = text.substr(0, comma);
    std::cerr << "filenumstr = [" << number << "]" << std::endl;
    // With the dash before the comma the length wraps: the first tick is all that follows the
    // comma.
    std::string const first = text.substr(comma + 1, dash - comma - 1);
    std::cerr << "firsttickstr = [" << first << "]" << std::endl;
    std::string const last = text.substr(dash + 1);
    std::cerr << "lasttickstr = [" << last << "]" << std::endl;

    EditArgument const argument{common::ParseInt32(number.c_str()),
                                common::ParseInt32(first.c_str()),
                                common::ParseInt32(last.c_str())};
    std::cerr << "firsttick = " << argument.firstTick << std::endl
              << "lasttick = " << argument.lastTick << std::endl;
    return argument;
}

} // namespace arguments
