// Reads the options of a command line one after the other.
#pragma once

#include <getopt.h>

#include <optional>
#include <string>

namespace workstation::frame {

// The value of what belongs to no option, as getopt_long has it.
constexpr int unknownOption = '?';

struct CommandLineOption {
    int value;
    char const* argument; // null for none; belongs to the command line
};

// Only one may be in use at a time: getopt_long keeps its state in global variables.
class OptionReader {
public:
    // Both option tables as getopt_long has them; the command line and `longOptions` must outlive
    // the reader.
    OptionReader(char** argv, int argc, std::string const& shortOptions, option const* longOptions);

    // The next option in command-line order; nothing after the last. What is wrong, an operand
    // included, is reported on standard error and is an unknown option.
    std::optional<CommandLineOption> Next();

private:
    CommandLineOption Operand(char const* text) const;

    char** argv_;
    int argc_;
    std::string shortOptions_;
    option const* longOptions_;
    char** rest_ = nullptr; // operands after "--"; null before the last option was read
};

} // namespace workstation::frame
