// Reads the options of a command line one after the other.
#pragma once

#include <getopt.h>

#include <optional>
#include <string>

namespace workstation::frame {

// The value of an unknown option, as in getopt_long.
constexpr int unknownOption = '?';

struct CommandLineOption {
    int value;
    char const* argument; // null for an option without one; belongs to the command line
};

// Only one may be in use at a time, because getopt_long keeps its state in global variables.
class OptionReader {
public:
    // The parameters are those of getopt_long. The command line and `longOptions` must outlive the
    // reader.
    OptionReader(char** argv, int argc, std::string const& shortOptions, option const* longOptions);

    // The next option in command-line order; empty after the last. A mistake, such as an operand,
    // is reported on standard error and returned as an unknown option.
    std::optional<CommandLineOption> Next();

private:
    CommandLineOption Operand(char const* text) const;

    char** argv_;
    int argc_;
    std::string shortOptions_;
    option const* longOptions_;
    char** rest_ = nullptr; // the next operand after "--"; null while options are read
};

} // namespace workstation::frame
