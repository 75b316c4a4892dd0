// The address of a UDP source: udp://ADDRESS:PORT.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace workstation::service::recording {

constexpr std::string_view udpPrefix = "udp://";

struct UdpAddress {
    std::string host;      // in numbers, IPv6 without brackets
    std::string interface; // what follows a "%"; empty when the system chooses it
    std::uint16_t port;    // not 0
    bool isIpv6;
    bool isMulticast;

    bool operator==(UdpAddress const&) const = default;
};

// Parses an IPv4 address, or an IPv6 address in brackets, and a port. An interface may follow the
// address, as in udp://239.1.2.3%eth1:5000. Null when `source` is anything else; names of hosts are
// not looked up.
std::optional<UdpAddress> ParseUdpAddress(std::string_view source);

} // namespace workstation::service::recording
