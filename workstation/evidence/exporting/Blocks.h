// Reads a part of a slot or of a file block by block.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "evidence/ByteSource.h"

namespace workstation::evidence::exporting {

// Passes the bytes of the range to `take`, in order, and their number to `progress`. What cannot be
// read is passed as zeros. Returns the ranges that cannot be read.
std::vector<Range> ReadBlocks(ByteSource& source, Range const& range,
                              std::function<void(std::span<unsigned char const>)> const& take,
                              std::function<void(std::uint64_t bytes)> const& progress);

} // namespace workstation::evidence::exporting
