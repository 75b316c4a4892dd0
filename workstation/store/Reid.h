// Record event identifiers.
#pragma once

#include <cstdint>
#include <string>

namespace workstation::store {

// "20261121-023605:5f3a9c21": the UTC date and time, in seconds since the epoch, and a number that
// tells identifiers of one second apart. Times outside the years 1970 to 9999 become the nearest
// inside.
std::string FormatReid(std::int64_t time, std::uint32_t number);

// An identifier with a random number.
std::string MakeReid(std::int64_t time);

} // namespace workstation::store
