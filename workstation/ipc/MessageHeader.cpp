// The header of a message on the wire.
#include "ipc/MessageHeader.h"

#include "BigEndian.h"

namespace workstation::ipc {

std::array<unsigned char, messageHeaderSize> EncodeHeader(MessageHeader const& header) {
    std::array<unsigned char, messageHeaderSize> bytes{};
    PutBig32(&bytes[0], messageMagic);
    PutBig32(&bytes[4], header.id);
    PutBig32(&bytes[8], header.correlation);
    PutBig32(&bytes[12], header.payloadSize);
    return bytes;
}

std::optional<MessageHeader> DecodeHeader(std::span<unsigned char const> datagram) {
    if (datagram.size() < messageHeaderSize || GetBig32(&datagram[0]) != messageMagic) {
        return std::nullopt;
    }
    MessageHeader const header{GetBig32(&datagram[4]), GetBig32(&datagram[8]),
                               GetBig32(&datagram[12])};
    if (header.payloadSize != datagram.size() - messageHeaderSize) {
        return std::nullopt;
    }
    return header;
}

} // namespace workstation::ipc
