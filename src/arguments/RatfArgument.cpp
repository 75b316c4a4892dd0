// The argument of option --ratf (record after the fact).
#include "arguments/RatfArgument.h"

#include <cstdint>
#include <ctime>
#include <iostream>
#include <optional>

#include "MyStrptime.h"

namespace arguments {
namespace {

// Numbers, since the recorder's headers are not known to have names for them.
constexpr auto routineStream = static_cast<StreamMgrApi::EventStreamState>(0);
constexpr auto criticalStream = static_cast<StreamMgrApi::EventStreamState>(1);
constexpr auto bothStreams = static_cast<StreamMgrApi::EventStreamState>(3);

std::optional<StreamMgrApi::EventStreamState> StreamsOfCode(char code) {
    switch (code) {
    case 'c':
        return criticalStream;
    case 'r':
        return routineStream;
    default:
        return std::nullopt;
    }
}

// Parses a local time in ratfTimeFormat; characters after it are ignored. False when the text is
// not a time.
bool ParseTime(std::string const& text, tm& time) {
    time = {};
    time.tm_isdst = -1; // mktime finds out whether daylight saving time applies
    return MyStrptime::mystrptime(text.c_str(), "%m%d%y-%H%M%S", &time) != nullptr;
}

// Seconds since the epoch; -1 when mktime fails, or when they do not fit the recorder's signed
// 32-bit time_t.
long ToSeconds(tm& time) {
    auto const seconds = mktime(&time);
    return static_cast<std::int32_t>(seconds) == seconds ? static_cast<long>(seconds) : -1;
}

} // namespace

std::variant<RatfArgument, RatfError> ParseRatfArgument(std::string const& text) {
    std::string const hint = std::string("start and stop times must be in the form '") +
                             ratfTimeFormat + "," + ratfTimeFormat + "'";
    auto const comma = text.find(',');
    if (comma == std::string::npos) {
        std::cerr << "Did not find comma\n:" << hint << "\n";
        return RatfError::times;
    }
    std::string const start = text.substr(0, comma);
    std::string stop = text.substr(comma + 1);

    auto streams = bothStreams;
    auto const secondComma = text.find(',', comma + 1);
    if (secondComma != std::string::npos) {
        // Deliberate: the stop time keeps the second comma, as the error lines show it; parsing the
        // time ends before it. The code is the last character, whatever stands before it.
        stop = text.substr(comma + 1, secondComma - comma);
        auto const chosen = StreamsOfCode(text.back());
        if (!chosen) {
            std::cerr << "\nSpecial option not formatted correctly\n\n";
            return RatfError::code;
        }
        streams = *chosen;
    }

    tm startTime{};
    tm stopTime{};
    bool const startParsed = ParseTime(start, startTime);
    bool const stopParsed = ParseTime(stop, stopTime);
    if (!startParsed || !stopParsed) {
        std::cerr << "Dates failed, using " << start << " and " << stop << "\n" << hint << "\n";
        return RatfError::times;
    }
    long const startSeconds = ToSeconds(startTime);
    long const stopSeconds = ToSeconds(stopTime);
    if (startSeconds == -1 || stopSeconds == -1) {
        std::cerr << hint << "\n";
        return RatfError::times;
    }
    return RatfArgument{startSeconds, stopSeconds, streams};
}

} // namespace arguments
