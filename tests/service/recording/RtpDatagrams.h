// UDP datagrams with an RTP header, made for tests.
#pragma once

#include <cstdint>

#include "BigEndian.h"
#include "service/recording/DamagedStream.h"

namespace recording_test {

constexpr std::uint32_t rtpSender = 0x12345678;

// Whole packets, each with its own content.
inline Bytes NumberedPackets(std::uint32_t first, std::uint32_t count) {
    Bytes bytes;
    for (std::uint32_t number = first; number < first + count; ++number) {
        Bytes const packet = NumberedPacket(number);
        bytes.insert(bytes.end(), packet.begin(), packet.end());
    }
    return bytes;
}

// The shortest header, and the payload.
inline Bytes RtpDatagram(std::uint16_t sequence, Bytes const& payload,
                         std::uint32_t sender = rtpSender) {
    Bytes bytes(12);
    bytes[0] = 0x80;
    bytes[1] = 33; // MP2T
    bytes[2] = static_cast<unsigned char>(sequence >> 8U);
    bytes[3] = static_cast<unsigned char>(sequence);
    workstation::PutBig32(&bytes[8], sender);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

} // namespace recording_test
