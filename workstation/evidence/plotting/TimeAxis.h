// An axis with local time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace workstation::evidence::plotting {

// A place on the axis with its label.
struct TimeMark {
    std::int64_t time; // seconds since the epoch
    std::string label; // "14:05", "14:05:10", or the date where the marks are days apart
    std::string date;  // "2026-11-22" at the first mark of each day, where the label has none
};

// At most `most` (2 or more) marks between two times, both included, at round local times of equal
// distance. Where clocks are set forward or back, distances differ by that.
std::vector<TimeMark> TimeMarks(std::int64_t from, std::int64_t to, std::size_t most);

// The zone of local time between two times: "CET", or "CET/CEST" when it changes.
std::string ZoneOf(std::int64_t from, std::int64_t to);

} // namespace workstation::evidence::plotting
