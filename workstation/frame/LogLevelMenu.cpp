// The menu of log levels.
#include "frame/LogLevelMenu.h"

#include <array>

#include "log/LogLevels.h"

namespace workstation::frame {
namespace {

// The index is the level.
constexpr std::array<std::string_view, log::allLevels + 1> names{"none", "errors and notifications",
                                                                 "notes", "everything"};

std::string_view Trim(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    auto const first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

} // namespace

std::optional<unsigned int> ParseLogLevel(std::string_view text) {
    std::string_view const choice = Trim(text);
    for (unsigned int level = 0; level < names.size(); ++level) {
        if (choice == names[level] || choice == std::to_string(level)) {
            return level;
        }
    }
    return std::nullopt;
}

std::string DescribeLogLevel(unsigned int level) {
    std::string text = std::to_string(level);
    if (level < names.size()) {
        text.append(" (").append(names[level]).append(")");
    }
    return text;
}

std::string LogLevelMenu(std::string const& server, unsigned int present) {
    std::string text = "Log level of " + server + ": " + DescribeLogLevel(present) + '\n';
    for (unsigned int level = 0; level < names.size(); ++level) {
        text.append("  ").append(std::to_string(level)).append("  ").append(names[level]);
        text += '\n';
    }
    return text + "New log level: ";
}

} // namespace workstation::frame
