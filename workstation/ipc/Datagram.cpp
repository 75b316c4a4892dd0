// The wire form of a message.
#include "ipc/Datagram.h"

#include "BigEndian.h"

namespace workstation::ipc {

std::array<unsigned char, datagramHeaderSize> EncodeHeader(DatagramHeader const& header) {
    std::array<unsigned char, datagramHeaderSize> bytes{};
    PutBig32(&bytes[0], datagramMagic);
    PutBig32(&bytes[4], header.id);
    PutBig32(&bytes[8], header.correlation);
    PutBig32(&bytes[12], header.payloadSize);
    return bytes;
}

std::optional<DatagramHeader> DecodeHeader(std::span<unsigned char const> datagram) {
    if (datagram.size() < datagramHeaderSize || GetBig32(&datagram[0]) != datagramMagic) {
        return std::nullopt;
    }
    DatagramHeader const header{GetBig32(&datagram[4]), GetBig32(&datagram[8]),
                                GetBig32(&datagram[12])};
    if (header.payloadSize != datagram.size() - datagramHeaderSize) {
        return std::nullopt;
    }
    return header;
}

} // namespace workstation::ipc
