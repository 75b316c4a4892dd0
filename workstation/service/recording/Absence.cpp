// When a live source is gone, when it is begun again, and what is reported about it.
#include "service/recording/Absence.h"

#include <algorithm>

namespace workstation::service::recording {

void Absence::HasPackets(Time now) {
    lastSign_ = now;
    wait_ = shortestWait;
    if (isGone_) {
        isGone_ = false;
        report_(name_ + " is back");
    }
}

std::chrono::seconds Absence::Gone(std::string const& reason) {
    Report(reason);
    return std::exchange(wait_, std::min(2 * wait_, longestWait));
}

void Absence::Silent() {
    Report("no packet for " + std::to_string(longestSilence.count()) + " s");
}

void Absence::Report(std::string const& reason) {
    if (!isGone_) {
        isGone_ = true;
        report_(name_ + " is gone: " + reason + "; trying again");
    }
}

} // namespace workstation::service::recording
