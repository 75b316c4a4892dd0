// The argument of option --split.
#include "arguments/SplitArgument.h"

#include <iostream>
#include <stdexcept>

#include "common/Int32.h"

namespace arguments {
namespace {

constexpr char const* hint = "split parameters must be in the form 'reid,splitsize'";
constexpr char const* blanks = " \t";

// The text without its leading blanks. Throws when nothing else is in it.
std::string TrimFront(std::string const& text) {
    auto const start = text.find_first_not_of(blanks);
    if (start == std::string::npos) {
        throw std::out_of_range("basic_string::substr");
    }
    return text.substr(start);
}

std::string Trim(std::string const& text) {
    std::string const trimmed = TrimFront(text);
    return trimmed.substr(0, trimmed.find_last_not_of(blanks) + 1);
}

bool IsWellFormedReid(std::string const& reid) {
    return reid.size() > 18 &&
           reid.find_first_not_of("0123456789abcdefABCDEF:-") == std::string::npos;
}

} // namespace

std::optional<SplitArgument> ParseSplitArgument(std::string const& text) {
    auto const comma = text.find(',');
    if (comma == std::string::npos) {
        std::cerr << "Did not find comma:\n" << hint << "\n";
        return std::nullopt;
    }

    std::string const reid = Trim(text.substr(0, comma));
    bool const reidIsWellFormed = IsWellFormedReid(reid);
    if (!reidIsWellFormed) {
        std::cerr << "Malformed or misplaced REID:\n" << hint << "\n";
    }

    if (comma + 1 == text.size()) {
        // Deliberate: no newline after the note.
        std::cerr
            << "NOTE: use no spaces between reid and splitsize, or else enclose the arguments "
               "in quotes";
    }
    std::string const sizeText = TrimFront(text.substr(comma + 1));
    auto const size = static_cast<unsigned int>(common::ParseInt32(sizeText.c_str()));
    if (size == 0) {
        std::cerr << "splitsize must be > 0\n" << hint << "\n";
        return std::nullopt;
    }
    return SplitArgument{reid, reidIsWellFormed, size, sizeText.back() == 'M'};
}

} // namespace arguments
