// What -y prints for an argument that it understands.
#pragma once

#include <string>

namespace e2e {

// With the number before a comma; the name of the source has no suffix.
inline std::string EchoOfNumberAndName(std::string const& number, std::string const& source) {
    return "complete option string = [" + number + "," + source + "]\nfilenumstr = [" + number +
           "]\ndestination file number = " + number + "\noptarg_ less prefix = [" + source +
           "]\n\ndestination file number = " + number + "\nsource file name = [" + source +
           ".ts]\n\n";
}

// With the number in front of the source's name, which ends in ".ts".
inline std::string EchoOfName(std::string const& number, std::string const& source) {
    return "complete option string = [" + source + ".ts]\nfilenumstr = [" + number +
           "]\ndestination file number = " + number + "\nbase filename for source file = [" +
           source + ".ts]\nsuffixstr = [ts]\noptarg_ less suffix = [" + source +
           "]\n\ndestination file number = " + number + "\nsource file name = [" + source +
           ".ts]\n\n";
}

} // namespace e2e
