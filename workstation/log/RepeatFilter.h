// Holds back log entries that repeat.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace workstation::log {

// Of each text at most one entry in a second. What is held back is counted and logged as one entry
// when the second is over: "TEXT, 7 times more". So a cause that comes again and again does not
// flood the log, and none of its occurrences is lost. Not for use by two threads at the same time.
class RepeatFilter {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::seconds interval{1};

    // The limit of the texts that are remembered. When there are more, further ones pass.
    static constexpr std::size_t maxTexts = 256;

    // Whether an entry of this text is to be logged now; else it is held back. `priority` is that
    // of its summary.
    bool Passes(std::string const& text, int priority, Time now);

    struct Summary {
        std::string text;
        int priority;

        bool operator==(Summary const&) const = default;
    };

    // The entries about what was held back, once they are due.
    std::vector<Summary> TakeDue(Time now) { return Take(now, false); }

    // Those that are not due yet too.
    std::vector<Summary> TakeAll(Time now) { return Take(now, true); }

    // When TakeDue has something; null while nothing is held back.
    std::optional<Time> Due() const;

private:
    struct Repeat {
        int priority;
        Time until;             // further entries are held back
        std::uint64_t held = 0; // entries
    };

    std::vector<Summary> Take(Time now, bool isAll);
    void Forget(Time now);

    std::map<std::string, Repeat> repeats_;
};

} // namespace workstation::log
