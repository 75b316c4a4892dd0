// Transport stream packets that can be recognised wherever they are found.
#include "powercut/SequencePacket.h"

#include <algorithm>
#include <random>
#include <vector>

#include "BigEndian.h"

namespace powercut {
namespace {

using workstation::GetBig32;
using workstation::GetBig64;
using workstation::PutBig32;
using workstation::PutBig64;
using workstation::ts::tsPacketSize;

// The end of each packet: mark, stream, run, index. Before it stands noise.
constexpr std::uint32_t mark = 0x53455120;
constexpr std::size_t nameSize = 4 + 4 + 4 + 8;
constexpr std::size_t nameOffset = tsPacketSize - nameSize;

constexpr std::size_t plainHeaderSize = 4;
constexpr std::size_t pcrFieldSize = 8; // its length, flags, and six bytes of PCR

std::vector<unsigned char> const& Noise() {
    static std::vector<unsigned char> const noise = [] {
        std::vector<unsigned char> bytes(65536);
        std::mt19937 random(1);
        std::ranges::generate(bytes, [&] { return static_cast<unsigned char>(random() >> 8U); });
        return bytes;
    }();
    return noise;
}

// A PCR is a base of 33 bits in steps of 1/90,000 s, six reserved bits and an extension of nine.
void PutPcr(unsigned char* out, std::uint64_t base) {
    PutBig32(out, static_cast<std::uint32_t>(base >> 1U));
    out[4] = static_cast<unsigned char>((base & 1U) << 7U | 0x7EU);
    out[5] = 0;
}

} // namespace

Packet SequencePacket(PacketName const& name, PacketRate const& rate) {
    bool const hasPcr = name.index % rate.packetsPerPcr == 0;
    Packet packet{};
    packet[0] = workstation::ts::tsSyncByte;
    packet[1] = 0x01;
    packet[2] = static_cast<unsigned char>(name.stream); // the PID is 0x100 and the stream
    packet[3] = static_cast<unsigned char>((hasPcr ? 0x30U : 0x10U) | (name.index & 0xFU));
    std::size_t offset = plainHeaderSize;
    if (hasPcr) {
        packet[4] = pcrFieldSize - 1;
        packet[5] = 0x10; // PCR_flag
        PutPcr(packet.data() + 6, name.index * 90000 / rate.packetsPerSecond);
        offset += pcrFieldSize;
    }
    std::size_t const at = (name.index * 31 + name.run * 7919ULL) % (Noise().size() - tsPacketSize);
    std::copy_n(Noise().begin() + static_cast<std::ptrdiff_t>(at), nameOffset - offset,
                packet.begin() + static_cast<std::ptrdiff_t>(offset));
    unsigned char* const out = packet.data() + nameOffset;
    PutBig32(out, mark);
    PutBig32(out + 4, static_cast<std::uint32_t>(name.stream));
    PutBig32(out + 8, name.run);
    PutBig64(out + 12, name.index);
    return packet;
}

std::optional<PacketName> NameOf(workstation::ts::TsPacketView packet) {
    unsigned char const* const in = packet.data() + nameOffset;
    if (packet[0] != workstation::ts::tsSyncByte || GetBig32(in) != mark) {
        return std::nullopt;
    }
    return PacketName{static_cast<int>(GetBig32(in + 4)), GetBig32(in + 8), GetBig64(in + 12)};
}

} // namespace powercut
