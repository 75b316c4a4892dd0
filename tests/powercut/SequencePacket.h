// Transport stream packets that can be recognised wherever they are found.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "ts/TsPacket.h"

namespace powercut {

// Which packet of which recording of which stream it is.
struct PacketName {
    int stream;
    std::uint32_t run;   // of one recording
    std::uint64_t index; // in the recording, from 0

    bool operator==(PacketName const&) const = default;
};

// The rate of the packets of a recording, and how often they state it.
struct PacketRate {
    std::uint64_t packetsPerSecond;
    std::uint64_t packetsPerPcr; // a packet with a PCR every so many
};

using Packet = std::array<unsigned char, workstation::ts::tsPacketSize>;

// Every byte follows from the arguments.
Packet SequencePacket(PacketName const& name, PacketRate const& rate);

// The name in a packet; empty when it is none of these packets.
std::optional<PacketName> NameOf(workstation::ts::TsPacketView packet);

} // namespace powercut
