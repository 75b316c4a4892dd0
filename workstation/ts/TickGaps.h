// The numbers of a stream's ticks, with gaps and restarts.
#pragma once

#include <cstdint>
#include <map>

namespace workstation::ts {

// Ticks have an index, from 0 at the start of the stream, and a number. Numbers count up by one
// (after 0xFFFFFFFF comes 0). For test streams they can also restart, and ticks can be missing, as
// in the recordings of a recorder that was restarted or too slow.
class TickGaps {
public:
    explicit TickGaps(std::uint32_t first)
        : starts_({{0, first}}) {}

    // The tick at `index` has the number `tick`, and those after it count on from there.
    void RestartAt(std::uint64_t index, std::uint32_t tick) { starts_[index] = tick; }

    // `count` ticks from `index` on are missing. Their numbers are not used for other ticks.
    void LeaveOut(std::uint64_t index, std::uint64_t count) { gaps_[index] = count; }

    std::uint32_t Number(std::uint64_t index) const;
    bool IsLeftOut(std::uint64_t index) const;

private:
    std::map<std::uint64_t, std::uint32_t> starts_; // number by index
    std::map<std::uint64_t, std::uint64_t> gaps_;   // count by index
};

} // namespace workstation::ts
