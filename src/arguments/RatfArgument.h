// The argument of option --ratf (record after the fact).
#pragma once

#include <string>
#include <variant>

#include "StreamMgrApi.h"

namespace arguments {

// How the times are written, as the usage text and the error lines show it.
inline constexpr char const* ratfTimeFormat = "MMDDYY-hhmmss";

// start,stop[,c|r]; the times are local times.
struct RatfArgument {
    long startSeconds; // since the epoch
    long stopSeconds;  // since the epoch; may be before the start
    StreamMgrApi::EventStreamState streams;
};

// Why a text is not an argument of --ratf.
enum class RatfError {
    times, // the comma between them is missing, or one is not a time of the recorder
    code,  // there is a second comma, but the text does not end in c or r
};

// Parses the text. Prints a line on standard error when it is invalid.
std::variant<RatfArgument, RatfError> ParseRatfArgument(std::string const& text);

} // namespace arguments
