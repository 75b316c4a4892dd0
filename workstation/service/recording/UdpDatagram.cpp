// The transport stream packets in a UDP datagram.
#include "service/recording/UdpDatagram.h"

#include "BigEndian.h"
#include "ts/TsPacket.h"

namespace workstation::service::recording {
namespace {

using Bytes = std::span<unsigned char const>;

constexpr std::size_t headerSize = 12;
constexpr std::size_t wordSize = 4; // of the lists and the extension

Bytes WholePackets(Bytes bytes) {
    std::size_t const size = bytes.size() / ts::tsPacketSize * ts::tsPacketSize;
    for (std::size_t offset = 0; offset < size; offset += ts::tsPacketSize) {
        if (bytes[offset] != ts::tsSyncByte) {
            return {};
        }
    }
    return bytes.first(size);
}

// A sync byte in the same place says version 1.
bool IsRtp(Bytes bytes) {
    return bytes.size() >= headerSize && bytes[0] >> 6U == 2;
}

// Of the header, with the list of contributing sources and the extension.
std::size_t FullHeaderSize(Bytes bytes) {
    std::size_t const listEnd = headerSize + (bytes[0] & 0x0FU) * wordSize;
    bool const hasExtension = (bytes[0] & 0x10U) != 0;
    if (!hasExtension || listEnd + wordSize > bytes.size()) {
        return listEnd;
    }
    std::size_t const words = bytes[listEnd + 2] * 256U + bytes[listEnd + 3];
    return listEnd + wordSize + words * wordSize;
}

std::size_t PaddingSize(Bytes bytes) {
    bool const isPadded = (bytes[0] & 0x20U) != 0;
    return isPadded ? bytes.back() : 0;
}

} // namespace

UdpDatagram ParseUdpDatagram(Bytes bytes) {
    if (!IsRtp(bytes)) {
        return {WholePackets(bytes), std::nullopt};
    }
    std::size_t const begin = FullHeaderSize(bytes);
    std::size_t const padding = PaddingSize(bytes);
    if (begin + padding > bytes.size()) {
        return {};
    }
    auto const sequence = static_cast<std::uint16_t>(bytes[2] * 256U + bytes[3]);
    return {WholePackets(bytes.subspan(begin, bytes.size() - begin - padding)),
            RtpHeader{sequence, GetBig32(&bytes[8])}};
}

} // namespace workstation::service::recording
