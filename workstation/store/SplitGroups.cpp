// How the files of an event are dealt out to sub-events.
#include "store/SplitGroups.h"

namespace workstation::store {

std::vector<std::size_t> SplitGroups(std::vector<std::uint64_t> const& sizes, std::uint64_t limit) {
    std::vector<std::size_t> groups;
    std::uint64_t sum = 0;
    for (std::uint64_t const size : sizes) {
        if (groups.empty() || sum + size > limit) {
            groups.push_back(0);
            sum = 0;
        }
        ++groups.back();
        sum += size;
    }
    return groups;
}

} // namespace workstation::store
