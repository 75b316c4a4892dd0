// The file beside an exported file that sha256sum checks.
#pragma once

#include <string>

namespace workstation::evidence::exporting {

// The line for a file of this name, as sha256sum writes it.
std::string ChecksumLine(std::string const& hash, std::string const& name);

} // namespace workstation::evidence::exporting
