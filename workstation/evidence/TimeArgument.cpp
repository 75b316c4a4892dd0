// Times as people write them in a command line.
#include "evidence/TimeArgument.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <ctime>

namespace workstation::evidence {
namespace {

constexpr std::int64_t minute = 60;
constexpr std::int64_t hour = 60 * minute;
constexpr std::int64_t day = 24 * hour;

struct WallClock {
    std::chrono::year_month_day date;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

// The text with a "d" for each digit.
std::string Shape(std::string text) {
    std::ranges::replace_if(
        text, [](char letter) { return letter >= '0' && letter <= '9'; }, 'd');
    return text;
}

int Number(std::string const& text, std::size_t from, std::size_t count) {
    int value = 0;
    std::from_chars(text.data() + from, text.data() + from + count, value);
    return value;
}

std::chrono::year_month_day Date(int year, int month, int dayOfMonth) {
    return {std::chrono::year(year), std::chrono::month(static_cast<unsigned int>(month)),
            std::chrono::day(static_cast<unsigned int>(dayOfMonth))};
}

std::tm BrokenDown(std::int64_t seconds, bool isUtc) {
    auto const time = static_cast<std::time_t>(seconds);
    std::tm fields{};
    isUtc ? gmtime_r(&time, &fields) : localtime_r(&time, &fields);
    return fields;
}

std::chrono::year_month_day DateOf(std::int64_t seconds, bool isUtc) {
    std::tm const fields = BrokenDown(seconds, isUtc);
    return Date(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday);
}

std::optional<WallClock> ParseWallClock(std::string const& text,
                                        std::chrono::year_month_day today) {
    std::string const shape = Shape(text);
    WallClock clock;
    std::size_t time = 0; // where it begins
    if (shape == "dddd-dd-dd dd:dd:dd") {
        clock.date = Date(Number(text, 0, 4), Number(text, 5, 2), Number(text, 8, 2));
        time = 11;
    } else if (shape == "dd:dd" || shape == "dd:dd:dd") {
        clock.date = today;
    } else {
        return std::nullopt;
    }
    clock.hour = Number(text, time, 2);
    clock.minute = Number(text, time + 3, 2);
    clock.second = text.size() > time + 5 ? Number(text, time + 6, 2) : 0;
    if (!clock.date.ok() || clock.hour > 23 || clock.minute > 59 || clock.second > 59) {
        return std::nullopt;
    }
    return clock;
}

std::int64_t AsUtc(WallClock const& clock) {
    auto const days = std::chrono::sys_days(clock.date).time_since_epoch().count();
    return days * day + clock.hour * hour + clock.minute * minute + clock.second;
}

// The difference to UTC changes at most once within two days: the one before and the one after are
// tried.
std::optional<std::int64_t> AsLocal(WallClock const& clock) {
    std::int64_t const utc = AsUtc(clock);
    std::optional<std::int64_t> first;
    for (std::int64_t const near : {utc - day, utc + day}) {
        std::int64_t const time = utc - BrokenDown(near, false).tm_gmtoff;
        bool const exists = time + BrokenDown(time, false).tm_gmtoff == utc;
        if (exists && (!first || time < *first)) {
            first = time;
        }
    }
    return first;
}

std::optional<std::int64_t> ParseSeconds(std::string const& text) {
    std::int64_t seconds = 0;
    char const* const end = text.data() + text.size();
    auto const result = std::from_chars(text.data() + 1, end, seconds);
    return result.ec == std::errc() && result.ptr == end ? std::make_optional(seconds)
                                                         : std::nullopt;
}

} // namespace

std::optional<std::int64_t> ParseTime(std::string const& text, std::int64_t now) {
    if (text.starts_with('@')) {
        return ParseSeconds(text);
    }
    bool const isUtc = text.ends_with('Z');
    auto const clock =
        ParseWallClock(text.substr(0, text.size() - (isUtc ? 1 : 0)), DateOf(now, isUtc));
    if (!clock) {
        return std::nullopt;
    }
    return isUtc ? AsUtc(*clock) : AsLocal(*clock);
}

} // namespace workstation::evidence
