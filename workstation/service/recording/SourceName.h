// What the log and the status show of a source.
#pragma once

#include <string>
#include <string_view>

namespace workstation::service::recording {

// What the argument of --record begins with when the source is a command.
constexpr std::string_view execPrefix = "exec:";

// Whether the argument of --record names a file, a FIFO or a device.
bool IsPath(std::string const& source);

// "standard input" for "-"; "exec:" and the name of the program for a command, which may contain a
// password; a path and a valid UDP address as they are. What follows "://" in anything else is left
// out: it may be an address with a password, given by mistake.
std::string ShownSource(std::string const& source);

// The same for the log: a path stands in quotes.
std::string SourceName(std::string const& source);

// A text without what follows "://" in it.
std::string WithoutAddress(std::string const& text);

// The name of the program that a command begins with; "sh" when it begins with anything else, such
// as an assignment.
std::string ProgramName(std::string_view command);

} // namespace workstation::service::recording
