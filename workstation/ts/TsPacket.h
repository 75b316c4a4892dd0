// What all transport stream packets have in common (ISO/IEC 13818-1).
#pragma once

#include <cstddef>
#include <span>

namespace workstation::ts {

constexpr std::size_t tsPacketSize = 188;
constexpr unsigned char tsSyncByte = 0x47;

// How much is transferred at a time, as in the tool: 1,024 packets.
constexpr std::size_t tsBlockSize = 1024 * tsPacketSize;

using TsPacketView = std::span<unsigned char const, tsPacketSize>;

} // namespace workstation::ts
