// Numbers as on the recorder's processor, where int and long have 32 bits.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace common {

// strtol in base 10 with a 32-bit long: a text that is not a number gives 0, characters after the
// number are ignored, and a number outside the limits becomes the nearer limit.
inline std::int32_t ParseInt32(char const* text) {
    long const number = std::strtol(text, nullptr, 10);
    return static_cast<std::int32_t>(std::clamp<long>(number,
                                                      std::numeric_limits<std::int32_t>::min(),
                                                      std::numeric_limits<std::int32_t>::max()));
}

// Adds to a counter, which wraps as a signed 32-bit one.
inline void AddInt32(long& counter, long amount) {
    counter = static_cast<std::int32_t>(static_cast<std::uint32_t>(counter) +
                                        static_cast<std::uint32_t>(amount));
}

} // namespace common
