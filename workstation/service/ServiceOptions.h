// The command line of the service StreamMgr.
#pragma once

#include <optional>
#include <variant>
#include <vector>

#include "service/recording/RecordingSettings.h"

namespace workstation::service {

// What the service is to record; each stream at most once.
using ServiceOptions = std::vector<recording::RecordingSettings>;

// Parses the command line. An int is the exit status of a program that has nothing more to do: 0
// after --help, which is on standard output, 2 for misuse, after one line on standard error.
std::variant<ServiceOptions, int> ParseServiceOptions(int argc, char const* const* argv);

// Parses a command line that has been parsed before, with what its configuration file contains now.
// Null when it names no configuration file. Throws a Failure that says what is wrong with the file;
// it must be a regular file, since others have nothing to be read again.
std::optional<ServiceOptions> ParseServiceOptionsAgain(int argc, char const* const* argv);

} // namespace workstation::service
