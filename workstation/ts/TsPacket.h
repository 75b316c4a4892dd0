// What all transport stream packets have in common (ISO/IEC 13818-1).
#pragma once

#include <cstddef>
#include <span>

namespace workstation::ts {

constexpr std::size_t tsPacketSize = 188;
constexpr unsigned char tsSyncByte = 0x47;

using TsPacketView = std::span<unsigned char const, tsPacketSize>;

} // namespace workstation::ts
