// Holds back log entries that repeat.
#include "log/RepeatFilter.h"

#include <algorithm>

namespace workstation::log {
namespace {

std::string SummaryText(std::string const& text, std::uint64_t count) {
    return text + ", " + std::to_string(count) + (count == 1 ? " time more" : " times more");
}

} // namespace

bool RepeatFilter::Passes(std::string const& text, int priority, Time now) {
    if (auto const found = repeats_.find(text);
        found != repeats_.end() && (now < found->second.until || found->second.held > 0)) {
        ++found->second.held;
        return false;
    }
    Forget(now);
    if (repeats_.size() < maxTexts) {
        repeats_[text] = {priority, now + interval};
    }
    return true;
}

std::optional<RepeatFilter::Time> RepeatFilter::Due() const {
    std::optional<Time> due;
    for (auto const& [text, repeat] : repeats_) {
        if (repeat.held > 0) {
            due = std::min(due.value_or(repeat.until), repeat.until);
        }
    }
    return due;
}

// A summary is an entry too: what comes in the second after it is held back.
std::vector<RepeatFilter::Summary> RepeatFilter::Take(Time now, bool isAll) {
    std::vector<Summary> summaries;
    for (auto& [text, repeat] : repeats_) {
        if (repeat.held > 0 && (isAll || repeat.until <= now)) {
            summaries.push_back({SummaryText(text, repeat.held), repeat.priority});
            repeat.held = 0;
            repeat.until = now + interval;
        }
    }
    return summaries;
}

void RepeatFilter::Forget(Time now) {
    std::erase_if(repeats_, [&](auto const& entry) {
        return entry.second.held == 0 && entry.second.until <= now;
    });
}

} // namespace workstation::log
