// The argument of option -e.
#include "EditArgument.h"

#include <iostream>

#include "../common/Int32.h"

namespace streamfile {

std::optional<EditArgument> ParseEditArgument(std::string const& text) {
    std::cerr << "complete option string = [" << text << "]" << std::endl;
    auto const comma = text.find(',');
    if (comma == std::string::npos) {
        std::cerr << "NOTE: a comma is required between the file number and the range of ticks to "
                     "delete."
                  << std::endl;
        return std::nullopt;
    }
    // Looked for from the start, not from the comma: a dash in the file number is the separator.
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
    // With the dash before the comma the length wraps, and the rest after the comma is the tick.
    std::string const first = text.substr(comma + 1, dash - comma - 1);
    std::cerr << "firsttickstr = [" << first << "]" << std::endl;
    std::string const last = text.substr(dash + 1);
    std::cerr << "lasttickstr = [" << last << "]" << std::endl;

    EditArgument const argument{device::ParseInt32(number.c_str()),
                                device::ParseInt32(first.c_str()),
                                device::ParseInt32(last.c_str())};
    std::cerr << "firsttick = " << argument.firsttick << std::endl
              << "lasttick = " << argument.lasttick << std::endl;
    return argument;
}

} // namespace streamfile
