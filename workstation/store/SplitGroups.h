// How the files of an event are dealt out to sub-events.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace workstation::store {

// How many of the files, in order, go into each group, so that the sum of a group stays within the
// limit and each group takes as many as it can. A file beyond the limit is a group of its own.
std::vector<std::size_t> SplitGroups(std::vector<std::uint64_t> const& sizes, std::uint64_t limit);

} // namespace workstation::store
