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

std::chrono::seconds Absence::Gone(std::string const& reason, Words const& lastWords) {
    Report(reason, lastWords);
    return std::exchange(wait_, std::min(2 * wait_, longestWait));
}

void Absence::Silent(Words const& lastWords) {
    Report("no packet for " + std::to_string(longestSilence.count()) + " s", lastWords);
}

void Absence::Report(std::string const& reason, Words const& lastWords) {
    if (!isGone_) {
        isGone_ = true;
        for (std::string const& words : lastWords) {
            report_(name_ + ": " + words);
        }
        report_(name_ + " is gone: " + reason + "; trying again");
    }
}

} // namespace workstation::service::recording
