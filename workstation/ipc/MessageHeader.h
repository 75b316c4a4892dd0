// The header of a message on the wire.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "IpcMessage.h"

namespace workstation::ipc {

struct MessageHeader {
    std::uint32_t id;
    std::uint32_t correlation;
    std::uint32_t payloadSize; // in bytes
};

// A message is one datagram: four 32-bit big-endian words, then the payload.
constexpr std::uint32_t messageMagic = 0x4C4E5831; // "LNX1"
constexpr std::size_t messageHeaderSize = 4        // magic
                                          + 4      // message id
                                          + 4      // correlation number
                                          + 4;     // payload size in bytes
constexpr std::size_t maxDatagramSize = messageHeaderSize + IpcMessage::maxSize;

std::array<unsigned char, messageHeaderSize> EncodeHeader(MessageHeader const& header);

// Empty when the datagram is no message: it is too short, has another magic, or its payload does
// not have the stated size.
std::optional<MessageHeader> DecodeHeader(std::span<unsigned char const> datagram);

} // namespace workstation::ipc
