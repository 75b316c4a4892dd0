// The copy of a pool image's header and table of files that is kept before a repair.
#pragma once

#include <cstdint>
#include <string>

namespace workstation::d2b {

// Copies the header and the table of the image at `image`, as far as the file reaches, into a new
// file beside it: `image`.table-YYYYMMDD-HHMMSS in local time, with -2, -3 and so on after it when
// that exists. Returns its path. The copy appears whole or not at all, is durable when it is
// returned, and replaces no file. Throws Failure.
std::string SaveTable(std::string const& image, std::uint32_t fileCount);

} // namespace workstation::d2b
