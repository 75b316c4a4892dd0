// The values of errno that the fakes set.
#pragma once

#include <cerrno>
#include <cstring>
#include <string>

// What errno holds after every call that succeeded. A message that shows it was made too late.
inline constexpr int meaninglessErrno = EDOM;

// An error as the tool's messages show it: the number and the text, with nothing between them.
inline std::string ErrnoText(int error) {
    return std::to_string(error) + std::strerror(error);
}
