// How a source fails: the name of the source is added where the failure is reported.
#pragma once

#include <cerrno>
#include <cstring>

#include "Failure.h"

namespace workstation::service::recording {

// The text is that of the errno alone: of `error`, else of the system call that has just failed.
inline Failure FailureOfErrno(int error = errno) {
    return {error, std::strerror(error)};
}

} // namespace workstation::service::recording
