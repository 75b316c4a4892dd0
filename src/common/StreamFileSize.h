// The size of a stream file and of its parts, in bytes.
#pragma once

namespace common {

// One transport-stream packet.
inline constexpr unsigned int packetSize = 188;

// The largest read or write: 1,024 packets.
inline constexpr unsigned int chunkSize = 1024 * packetSize;
static_assert(chunkSize == 0x2F000);

// A whole slot of the pool: 512 chunks, 94 MiB.
inline constexpr long slotSize = 512L * chunkSize;
static_assert(slotSize == 0x5E00000);

} // namespace common
