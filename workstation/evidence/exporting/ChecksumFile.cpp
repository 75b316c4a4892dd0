// The file beside an exported file that sha256sum checks.
#include "evidence/exporting/ChecksumFile.h"

namespace workstation::evidence::exporting {

// A line with a character that is escaped begins with a backslash.
std::string ChecksumLine(std::string const& hash, std::string const& name) {
    std::string escaped;
    for (char const character : name) {
        switch (character) {
        case '\\':
            escaped += "\\\\";
            break;
        case '\n':
            escaped += "\\n";
            break;
        case '\r':
            escaped += "\\r";
            break;
        default:
            escaped += character;
        }
    }
    return (escaped == name ? "" : "\\") + hash + "  " + escaped + "\n";
}

} // namespace workstation::evidence::exporting
