// Big-endian words in bytes: the only way in which numbers reach a wire or a disk.
#pragma once

#include <cstdint>

namespace workstation {

inline void PutBig32(unsigned char* out, std::uint32_t value) {
    out[0] = static_cast<unsigned char>(value >> 24);
    out[1] = static_cast<unsigned char>(value >> 16);
    out[2] = static_cast<unsigned char>(value >> 8);
    out[3] = static_cast<unsigned char>(value);
}

inline std::uint32_t GetBig32(unsigned char const* in) {
    return std::uint32_t{in[0]} << 24 | std::uint32_t{in[1]} << 16 | std::uint32_t{in[2]} << 8 |
           std::uint32_t{in[3]};
}

inline void PutBig64(unsigned char* out, std::uint64_t value) {
    PutBig32(out, static_cast<std::uint32_t>(value >> 32));
    PutBig32(out + 4, static_cast<std::uint32_t>(value));
}

inline std::uint64_t GetBig64(unsigned char const* in) {
    return std::uint64_t{GetBig32(in)} << 32 | GetBig32(in + 4);
}

} // namespace workstation
