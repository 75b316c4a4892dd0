// The argument of option --split.
#pragma once

#include <optional>
#include <string>

namespace arguments {

// reid,splitsize; the size is in GiB, or in MiB when the text ends in M.
struct SplitArgument {
    std::string reid;
    bool reidIsWellFormed;
    unsigned int size; // as typed, a negative one as its 32-bit value; never 0
    bool isMiB;

    // The size as the service takes it: below 1024 in GiB, from 1024 on in KiB.
    unsigned int ServiceSize() const { return isMiB ? size << 10 : size; }
};

// Parses the text and prints on standard error what is wrong with it. nullopt when the comma is
// missing or the size is 0. Deliberate: a malformed identifier is reported, but is no reason to
// refuse the argument. Throws std::out_of_range when one side of the comma has nothing but blanks;
// the frame reports the exception.
std::optional<SplitArgument> ParseSplitArgument(std::string const& text);

} // namespace arguments
