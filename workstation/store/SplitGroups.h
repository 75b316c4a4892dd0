// How the files of an event are grouped when it is split.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "store/RecordedFile.h"

namespace workstation::store {

// How many of the files, in order, belong to each group. A group takes as many as the limit allows.
// A file that is larger than the limit is a group of its own.
std::vector<std::size_t> SplitGroups(std::vector<std::uint64_t> const& sizes, std::uint64_t limit);

// The groups of files, in order. A file that is still being recorded counts as a whole slot.
std::vector<std::vector<RecordedFile>> SplitFiles(std::vector<RecordedFile> const& files,
                                                  unsigned int maxSizeKiB);

} // namespace workstation::store
