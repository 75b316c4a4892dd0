// What an operation that may throw a Failure reports.
#pragma once

#include <string>

#include "Failure.h"

namespace workstation {

// The text of the Failure that `work` throws; empty when it throws none.
template <typename Work>
std::string FailureOf(Work work) {
    try {
        work();
        return "";
    } catch (Failure const& failure) {
        return failure.what();
    }
}

// The same for its errno value; 0 when it throws none.
template <typename Work>
int ErrorOf(Work work) {
    try {
        work();
        return 0;
    } catch (Failure const& failure) {
        return failure.Error();
    }
}

} // namespace workstation
