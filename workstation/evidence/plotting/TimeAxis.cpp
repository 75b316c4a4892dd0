// An axis with local time.
#include "evidence/plotting/TimeAxis.h"

#include <array>
#include <ctime>

namespace workstation::evidence::plotting {
namespace {

// The distance of two marks; one of the three is not 0.
struct Step {
    int seconds; // divides a day
    int days;
    int months;

    std::int64_t AtLeastSeconds() const {
        return seconds + std::int64_t{days} * 86400 + std::int64_t{months} * 28 * 86400;
    }
};

constexpr Step steps[] = {
    {1, 0, 0},    {2, 0, 0},    {5, 0, 0},     {10, 0, 0},    {15, 0, 0},    {30, 0, 0},
    {60, 0, 0},   {120, 0, 0},  {300, 0, 0},   {600, 0, 0},   {900, 0, 0},   {1800, 0, 0},
    {3600, 0, 0}, {7200, 0, 0}, {10800, 0, 0}, {21600, 0, 0}, {43200, 0, 0}, {0, 1, 0},
    {0, 2, 0},    {0, 7, 0},    {0, 14, 0},    {0, 0, 1},     {0, 0, 2},     {0, 0, 3},
    {0, 0, 6},    {0, 0, 12},   {0, 0, 24},    {0, 0, 60},    {0, 0, 120},   {0, 0, 240},
    {0, 0, 600},  {0, 0, 1200},
};

std::tm LocalFields(std::int64_t seconds) {
    auto const time = static_cast<std::time_t>(seconds);
    std::tm fields{};
    localtime_r(&time, &fields);
    return fields;
}

std::int64_t SecondsOf(std::tm fields) {
    fields.tm_isdst = -1;
    return std::mktime(&fields);
}

std::string Text(std::int64_t seconds, char const* format) {
    std::tm const fields = LocalFields(seconds);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), format, &fields);
    return text.data();
}

// The last round time that is not after `from`.
std::tm RoundedDown(std::int64_t from, Step const& step) {
    std::tm fields = LocalFields(from);
    if (step.seconds > 0) {
        int const ofDay = (fields.tm_hour * 60 + fields.tm_min) * 60 + fields.tm_sec;
        fields.tm_hour = 0;
        fields.tm_min = 0;
        fields.tm_sec = ofDay / step.seconds * step.seconds;
        return fields;
    }
    fields.tm_hour = fields.tm_min = fields.tm_sec = 0;
    if (step.months > 0) {
        int const months = fields.tm_year * 12 + fields.tm_mon;
        fields.tm_mday = 1;
        fields.tm_mon = months / step.months * step.months - fields.tm_year * 12;
    }
    return fields;
}

std::vector<TimeMark> MarksAt(std::int64_t from, std::int64_t to, Step const& step) {
    std::vector<TimeMark> marks;
    std::tm const begin = RoundedDown(from, step);
    std::int64_t last = INT64_MIN;
    for (int i = 0;; ++i) {
        std::tm fields = begin;
        fields.tm_sec += i * step.seconds;
        fields.tm_mday += i * step.days;
        fields.tm_mon += i * step.months;
        std::int64_t const time = SecondsOf(fields);
        if (time > to) {
            return marks;
        }
        if (time >= from && time > last) { // it does not grow where an hour is skipped
            marks.push_back({time, "", ""});
            last = time;
        }
    }
}

void Label(std::vector<TimeMark>& marks, Step const& step) {
    std::string lastDate;
    for (TimeMark& mark : marks) {
        std::string const date = Text(mark.time, "%Y-%m-%d");
        if (step.seconds == 0) {
            mark.label = date;
            continue;
        }
        mark.label = Text(mark.time, step.seconds < 60 ? "%H:%M:%S" : "%H:%M");
        mark.date = date == lastDate ? "" : date;
        lastDate = date;
    }
}

} // namespace

std::vector<TimeMark> TimeMarks(std::int64_t from, std::int64_t to, std::size_t most) {
    for (Step const& step : steps) {
        if ((to - from) / step.AtLeastSeconds() > static_cast<std::int64_t>(most)) {
            continue;
        }
        auto marks = MarksAt(from, to, step);
        if (marks.size() <= most) {
            Label(marks, step);
            return marks;
        }
    }
    return {};
}

std::string ZoneOf(std::int64_t from, std::int64_t to) {
    std::string const first = Text(from, "%Z");
    std::string const last = Text(to, "%Z");
    return first == last ? first : first + "/" + last;
}

} // namespace workstation::evidence::plotting
