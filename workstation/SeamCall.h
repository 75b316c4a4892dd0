// How a failure leaves a function of the seam.
#pragma once

#include <cerrno>
#include <utility>

#include "Failure.h"

namespace workstation {

// Returns what `work` returns. When it throws a Failure, hands that to `report`, sets errno and
// returns `failed`.
template <typename Result, typename Work, typename Report>
Result AtSeam(Result failed, Work work, Report report) {
    try {
        return work();
    } catch (Failure const& failure) {
        report(failure);
        errno = failure.Error();
        return failed;
    }
}

// The same without a report.
template <typename Result, typename Work>
Result AtSeam(Result failed, Work work) {
    return AtSeam(std::move(failed), work, [](Failure const&) {});
}

} // namespace workstation
