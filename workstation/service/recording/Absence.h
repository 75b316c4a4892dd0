// When a live source is gone, when it is begun again, and what is reported about it.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "service/recording/RecordingClock.h"
#include "service/recording/Report.h"

namespace workstation::service::recording {

// One line when the source goes, after its last words, and one when its packets come again, however
// often it is begun meanwhile.
class Absence {
public:
    using Time = RecordingClock::Time;
    using Words = std::vector<std::string>;

    // A source without a packet for so long is gone, even if it delivers other bytes.
    static constexpr std::chrono::seconds longestSilence{10};

    // `name` is how the lines name the source.
    Absence(std::string name, Report report)
        : name_(std::move(name))
        , report_(std::move(report)) {}

    // The source is begun, at first or again.
    void Begin(Time now) { lastSign_ = now; }

    // The source has delivered packets.
    void HasPackets(Time now);

    // When the source counts as gone if no packets come.
    Time SilentAt() const { return lastSign_ + longestSilence; }

    // The source has ended or failed. Returns how long to wait before it is begun again: 1 s at
    // first, then twice as long each time up to 8 s, and 1 s again after packets.
    std::chrono::seconds Gone(std::string const& reason, Words const& lastWords);

    // The source is silent. It is begun again at once: it has been waited for already.
    void Silent(Words const& lastWords);

private:
    static constexpr std::chrono::seconds shortestWait{1};
    static constexpr std::chrono::seconds longestWait{8};

    void ReportOnce(std::string const& reason, Words const& lastWords);

    std::string name_;
    Report report_;
    Time lastSign_;
    std::chrono::seconds wait_ = shortestWait; // before the source is begun the next time
    bool isGone_ = false;
};

} // namespace workstation::service::recording
