// Record event identifiers.
#pragma once

#include <cstdint>
#include <string>

namespace workstation::store {

// "20261121-023605:5f3a9c21": the date and time in UTC, and a number that distinguishes identifiers
// of the same second. `time` is in seconds since the epoch, and limited to the years 1970 to 9999.
std::string FormatReid(std::int64_t time, std::uint32_t number);

// An identifier with a random number.
std::string MakeReid(std::int64_t time);

} // namespace workstation::store
