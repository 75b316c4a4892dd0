// What the log and the status show of a source.
#include "service/recording/SourceName.h"

#include <algorithm>

#include "service/recording/UdpAddress.h"

namespace workstation::service::recording {
namespace {

constexpr std::string_view blanks = " \t\n";

// Characters that a shell takes as they are, so that the word ends where it seems to.
bool IsPlain(char character) {
    constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                       "0123456789_./+-";
    return plain.find(character) != std::string_view::npos;
}

} // namespace

std::string ProgramName(std::string_view command) {
    command.remove_prefix(std::min(command.find_first_not_of(blanks), command.size()));
    std::string_view const path = command.substr(0, command.find_first_of(blanks));
    std::string_view const name = path.substr(path.rfind('/') + 1);
    return !name.empty() && std::ranges::all_of(path, IsPlain) ? std::string(name) : "sh";
}

// An address may contain a user and a password.
std::string WithoutAddress(std::string const& text) {
    std::string_view const mark = "://";
    std::size_t const address = text.find(mark);
    return address == std::string::npos ? text : text.substr(0, address + mark.size()) + "***";
}

std::string ShownSource(std::string const& source) {
    if (source == "-") {
        return "standard input";
    }
    if (source.starts_with(execPrefix)) {
        return std::string(execPrefix) + ProgramName(source.substr(execPrefix.size()));
    }
    return ParseUdpAddress(source) ? source : WithoutAddress(source);
}

bool IsPath(std::string const& source) {
    return source != "-" && !source.starts_with(execPrefix) && !source.starts_with(udpPrefix);
}

std::string SourceName(std::string const& source) {
    return IsPath(source) ? "'" + ShownSource(source) + "'" : ShownSource(source);
}

} // namespace workstation::service::recording
