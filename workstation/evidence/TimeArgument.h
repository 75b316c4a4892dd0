// Times as people write them in a command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace workstation::evidence {

// Seconds since the epoch for "YYYY-MM-DD HH:MM:SS", for "HH:MM" or "HH:MM:SS" of today (`now`, in
// seconds since the epoch, is in it), or for "@SECONDS". The first three are local time, or UTC
// with "Z" at the end. Of a local time that occurs twice, when clocks are set back, it is the first
// one. Null for any other text, and for a local time that is skipped when clocks are set forward.
std::optional<std::int64_t> ParseTime(std::string const& text, std::int64_t now);

} // namespace workstation::evidence
