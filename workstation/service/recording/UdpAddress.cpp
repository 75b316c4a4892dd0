// The address of a UDP source: udp://ADDRESS:PORT.
#include "service/recording/UdpAddress.h"

#include <arpa/inet.h>

#include <array>
#include <charconv>

namespace workstation::service::recording {
namespace {

constexpr std::size_t ipv6Size = 16; // bytes

// 0 when the text is no port.
std::uint16_t ParsePort(std::string_view text) {
    std::uint16_t port = 0;
    auto const parsed = std::from_chars(text.data(), text.data() + text.size(), port);
    bool const isPort = parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
    return isPort ? port : std::uint16_t{0};
}

bool IsMulticast(bool isIpv6, unsigned char firstByte) {
    return isIpv6 ? firstByte == 0xFF : (firstByte & 0xF0U) == 0xE0U;
}

} // namespace

std::optional<UdpAddress> ParseUdpAddress(std::string_view source) {
    if (!source.starts_with(udpPrefix)) {
        return std::nullopt;
    }
    source.remove_prefix(udpPrefix.size());
    std::size_t const colon = source.rfind(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    std::uint16_t const port = ParsePort(source.substr(colon + 1));
    std::string_view host = source.substr(0, colon);
    bool const isIpv6 = host.starts_with('[') && host.ends_with(']');
    if (isIpv6) {
        host = host.substr(1, host.size() - 2);
    }
    std::size_t const percent = host.find('%');
    bool const hasInterface = percent != std::string_view::npos;
    std::string const interface(hasInterface ? host.substr(percent + 1) : "");
    std::string const address(host.substr(0, percent));
    std::array<unsigned char, ipv6Size> bytes{};
    bool const isAddress =
        inet_pton(isIpv6 ? AF_INET6 : AF_INET, address.c_str(), bytes.data()) == 1;
    if (!isAddress || port == 0 || hasInterface == interface.empty()) {
        return std::nullopt;
    }
    return UdpAddress{address, interface, port, isIpv6, IsMulticast(isIpv6, bytes[0])};
}

} // namespace workstation::service::recording
