// How an operation of the workstation fails: with a reason for people and one for programs.
#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace workstation {

// Thrown by an operation that cannot do its work. An operation that throws has had no effect unless
// its header says otherwise.
class Failure : public std::runtime_error {
public:
    // `error` is a value of errno; `text` one line without a full stop.
    Failure(int error, std::string const& text)
        : std::runtime_error(text)
        , error_(error) {}

    int Error() const { return error_; }

private:
    int error_;
};

// The failure of a system call that has just failed: errno, and its text after `text`.
inline Failure SystemFailure(std::string const& text) {
    int const error = errno;
    return {error, text + ": " + std::strerror(error)};
}

} // namespace workstation
