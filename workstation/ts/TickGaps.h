// Which number each tick of a stream bears.
#pragma once

#include <cstdint>
#include <map>

namespace workstation::ts {

// Ticks have an index, from 0 at the start of the stream, and a number. Numbers count up by one
// (after 0xFFFFFFFF comes 0), but streams can be made in which they start anew, or in which ticks
// are missing: what a recorder leaves behind that was restarted or fell behind.
class TickNumbering {
public:
    explicit TickNumbering(std::uint32_t first)
        : starts_({{0, first}}) {}

    // The tick at `index` bears the number `tick`, and those behind it count on from there.
    void RestartAt(std::uint64_t index, std::uint32_t tick) { starts_[index] = tick; }

    // `count` ticks from `index` on are missing. They are counted all the same.
    void LeaveOut(std::uint64_t index, std::uint64_t count) { gaps_[index] = count; }

    std::uint32_t Number(std::uint64_t index) const;
    bool IsLeftOut(std::uint64_t index) const;

private:
    std::map<std::uint64_t, std::uint32_t> starts_; // number by index
    std::map<std::uint64_t, std::uint64_t> gaps_;   // count by index
};

} // namespace workstation::ts
