// The transport stream packet that carries one system tick.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "StreamMetadata.h"
#include "ts/TsPacket.h"

namespace workstation::ts {

// No PMT contains this PID, so players skip the ticks.
constexpr std::uint16_t systemTickPid = 0x1FA0;

using SystemTickPacket = std::array<unsigned char, tsPacketSize>;

// The lower four bits of `continuityCounter` are used.
SystemTickPacket EncodeSystemTick(unsigned char identifier, StreamMetadata const& metadata,
                                  unsigned int continuityCounter);

// The contents of a packet that is a complete tick of that kind; empty for any other packet.
std::optional<StreamMetadata> DecodeSystemTick(TsPacketView packet, unsigned char identifier);

// Whether the header is that of a tick. Fast, and false for nearly every other packet: scans check
// this before decoding.
inline bool HasSystemTickHeader(TsPacketView packet) {
    constexpr unsigned char transportPriority = 0x20; // may have either value
    constexpr unsigned char continuityCounter = 0x0F;
    return packet[0] == tsSyncByte &&
           // no transport_error_indicator, payload_unit_start_indicator, PID
           (packet[1] & ~transportPriority) == (0x40 | systemTickPid >> 8) &&
           packet[2] == (systemTickPid & 0xFF) &&
           // not scrambled, no adaptation field
           (packet[3] & ~continuityCounter) == 0x10;
}

} // namespace workstation::ts
