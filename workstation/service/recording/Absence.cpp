// When a live source is gone, when it is begun again, and what is reported about it.
#include "service/recording/Absence.h"

#include <algorithm>

namespace workstation::service::recording {

void Absence::HasPackets(Time now) {
    lastSign_ = now;
    wait_ = shortestWait;
    if (isGone_) {
        isGone_ = false;
        report_(name_ + " is back", log::Severity::notice);
    }
}

std::chrono::seconds Absence::Gone(std::string const& reason, Words const& lastWords) {
    ReportOnce(reason, lastWords);
    return std::exchange(wait_, std::min(2 * wait_, longestWait));
}

void Absence::Silent(Words const& lastWords) {
    ReportOnce("no packet for " + std::to_string(longestSilence.count()) + " s", lastWords);
}

void Absence::ReportOnce(std::string const& reason, Words const& lastWords) {
    if (!isGone_) {
        isGone_ = true;
        for (std::string const& words : lastWords) {
            report_(name_ + ": " + words, log::Severity::warning);
        }
        report_(name_ + " is gone: " + reason + "; trying again", log::Severity::warning);
    }
}

} // namespace workstation::service::recording
