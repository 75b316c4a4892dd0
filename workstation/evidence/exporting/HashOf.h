// Hashes a part of a slot or of a file.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "evidence/ByteSource.h"

namespace workstation::evidence::exporting {

// What cannot be read counts as zeros, as in an export, and is appended to `unreadable`. `progress`
// is called with numbers of bytes.
std::string HashOf(ByteSource& source, Range const& range, std::vector<Range>& unreadable,
                   std::function<void(std::uint64_t bytes)> const& progress);

} // namespace workstation::evidence::exporting
