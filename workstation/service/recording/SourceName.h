// What the log shows of a source.
#pragma once

#include <string>

namespace workstation::service::recording {

// A path in quotes; "standard input" for "-".
std::string SourceName(std::string const& source);

} // namespace workstation::service::recording
