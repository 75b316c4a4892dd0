// The transport stream packets in a UDP datagram.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace workstation::service::recording {

// What RTP (RFC 3550) says about a datagram.
struct RtpHeader {
    std::uint16_t sequence;
    std::uint32_t sender; // SSRC

    bool operator==(RtpHeader const&) const = default;
};

struct UdpDatagram {
    std::span<unsigned char const> packets; // whole packets; empty when there are none
    std::optional<RtpHeader> rtp;           // null without an RTP header
};

// Packets begin with the datagram, or after an RTP header with its lists and extension. Every one
// has its sync byte: a datagram of anything else has no packets. What follows the last whole packet
// is left out.
UdpDatagram ParseUdpDatagram(std::span<unsigned char const> bytes);

} // namespace workstation::service::recording
