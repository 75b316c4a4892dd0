// The numbers of a stream's ticks, with gaps and restarts.
#include "ts/TickGaps.h"

#include <algorithm>
#include <iterator>

namespace workstation::ts {

std::uint32_t TickGaps::Number(std::uint64_t index) const {
    auto const& [start, number] = *std::prev(starts_.upper_bound(index));
    return number + static_cast<std::uint32_t>(index - start);
}

bool TickGaps::IsLeftOut(std::uint64_t index) const {
    return std::ranges::any_of(gaps_, [index](auto const& gap) {
        return index >= gap.first && index - gap.first < gap.second;
    });
}

} // namespace workstation::ts
