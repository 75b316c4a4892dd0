// Reads the options of a command line one after the other.
#include "frame/OptionReader.h"

#include <iostream>

namespace workstation::frame {
namespace {

// What getopt_long returns for an operand when the short options begin with '-': it then leaves
// operands in command-line order.
constexpr int operand = 1;

} // namespace

OptionReader::OptionReader(char** argv, int argc, std::string const& shortOptions,
                           option const* longOptions)
    : argv_(argv)
    , argc_(argc)
    , shortOptions_('-' + shortOptions)
    , longOptions_(longOptions) {
    optind = 0; // restart, including the internal state of getopt_long
    opterr = 1;
}

std::optional<CommandLineOption> OptionReader::Next() {
    if (rest_ == nullptr) {
        int const value = getopt_long(argc_, argv_, shortOptions_.c_str(), longOptions_, nullptr);
        if (value == operand) {
            return Operand(optarg);
        }
        if (value == unknownOption) {
            return CommandLineOption{unknownOption, nullptr};
        }
        if (value != -1) {
            return CommandLineOption{value, optarg};
        }
        rest_ = argv_ + optind; // getopt_long has nothing more
    }
    if (rest_ < argv_ + argc_) {
        return Operand(*rest_++);
    }
    return std::nullopt;
}

CommandLineOption OptionReader::Operand(char const* text) const {
    std::cerr << argv_[0] << ": unexpected operand '" << text << '\'' << std::endl;
    return {unknownOption, nullptr};
}

} // namespace workstation::frame
