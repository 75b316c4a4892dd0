// The argument of option -y.
#pragma once

#include <optional>
#include <string>

namespace arguments {

// <num>,<sourcename>, or a source name that begins with the number and a full stop.
struct InsertArgument {
    int fileNumber;         // 0 when the text contains no number
    std::string sourceName; // without the suffix ".ts"
};

// Parses the text and prints its parts on standard output. nullopt when the number before the comma
// or the full stop is missing or below 1. Deliberate: only a number before a comma that is below 1
// is reported, on standard error; the other cases print nothing more.
std::optional<InsertArgument> ParseInsertArgument(std::string const& text);

} // namespace arguments
