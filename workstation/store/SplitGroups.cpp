// How the files of an event are grouped when it is split.
#include "store/SplitGroups.h"

#include <algorithm>
#include <iterator>

#include "pool/PoolLayout.h"

namespace workstation::store {
namespace {

std::vector<std::uint64_t> SizesOf(std::vector<RecordedFile> const& files) {
    std::vector<std::uint64_t> sizes(files.size());
    std::ranges::transform(files, sizes.begin(), [](RecordedFile const& file) {
        return file.finished ? file.size : pool::poolSlotSize;
    });
    return sizes;
}

} // namespace

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

std::vector<std::vector<RecordedFile>> SplitFiles(std::vector<RecordedFile> const& files,
                                                  unsigned int maxSizeKiB) {
    std::vector<std::vector<RecordedFile>> groups;
    auto first = files.begin();
    for (std::size_t const count : SplitGroups(SizesOf(files), std::uint64_t{maxSizeKiB} * 1024)) {
        auto const last = std::next(first, static_cast<std::ptrdiff_t>(count));
        groups.emplace_back(first, last);
        first = last;
    }
    return groups;
}

} // namespace workstation::store
