// Numbers as the recorder's processor has them: 32-bit, on a 64-bit workstation too.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace device {

// strtol in base 10 with the recorder's 32-bit long: what is no number is 0, a trailing rest is
// ignored, and a number beyond the limits saturates at them.
inline std::int32_t ParseInt32(char const* text) {
    long const number = std::strtol(text, nullptr, 10);
    return static_cast<std::int32_t>(std::clamp<long>(number,
                                                      std::numeric_limits<std::int32_t>::min(),
                                                      std::numeric_limits<std::int32_t>::max()));
}

// Adds to a counter, which wraps where a signed 32-bit one wraps.
inline void AddInt32(long& counter, long amount) {
    counter = static_cast<std::int32_t>(static_cast<std::uint32_t>(counter) +
                                        static_cast<std::uint32_t>(amount));
}

} // namespace device
