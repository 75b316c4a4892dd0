// Why something could not be done: for programs and for people.
#pragma once

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

namespace workstation {

struct Trouble {
    int error = 0;    // as in errno
    std::string text; // one line, without a full stop
};

// Fills in `why` and returns false, so that a function can fail in one statement.
inline bool Fail(Trouble& why, int error, std::string text) {
    why = {error, std::move(text)};
    return false;
}

// The same for a system call that has just failed: errno and its text are added.
inline bool FailWithErrno(Trouble& why, std::string const& text) {
    int const error = errno;
    return Fail(why, error, text + ": " + std::strerror(error));
}

} // namespace workstation
