// The wire form of a message.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "IpcMessage.h"

namespace workstation::ipc {

// What stands before the payload of a datagram: four 32-bit big-endian words.
struct DatagramHeader {
    std::uint32_t id;
    std::uint32_t correlation;
    std::uint32_t payloadSize;
};

constexpr std::uint32_t datagramMagic = 0x4C4E5831; // "LNX1"
constexpr std::size_t datagramHeaderSize = 4        // magic
                                           + 4      // message id
                                           + 4      // correlation number
                                           + 4;     // payload size in bytes
constexpr std::size_t maxDatagramSize = datagramHeaderSize + IpcMessage::maxSize;

std::array<unsigned char, datagramHeaderSize> EncodeHeader(DatagramHeader const& header);

// Nothing when the datagram is too short, has another magic, or does not have the payload size that
// it states.
std::optional<DatagramHeader> DecodeHeader(std::span<unsigned char const> datagram);

} // namespace workstation::ipc
