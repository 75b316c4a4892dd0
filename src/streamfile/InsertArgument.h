// The argument of option -y.
#pragma once

#include <optional>
#include <string>

namespace streamfile {

// <num>,<sourcename>, or a source name that begins with the number and a full stop. The suffix
// ".ts" is taken off the name.
struct InsertArgument {
    int fileNumber; // 0 when the text names none
    std::string sourceName;
};

// Takes the text apart and shows the parts on standard output. None when the number is missing or
// none, which only a number before a comma is told for.
std::optional<InsertArgument> ParseInsertArgument(std::string const& text);

} // namespace streamfile
