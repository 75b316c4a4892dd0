// Times as people read them.
#pragma once

#include <cstdint>
#include <string>

namespace workstation {

// "2026-11-22 14:05:10 CET": seconds since the epoch in local time, with its zone.
std::string LocalTime(std::int64_t seconds);

} // namespace workstation
