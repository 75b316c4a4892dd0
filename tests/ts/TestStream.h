// Transport streams put together piece by piece, for the tests that look for ticks in them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "StreamMetadata.h"
#include "TsHelper.h"
#include "ts/SystemTickPacket.h"

namespace ts_test {

using Bytes = std::vector<unsigned char>;

// (byte offset, tick), as the scenarios of the tests name them.
using Ticks = std::vector<std::pair<unsigned int, unsigned int>>;

// Bytes 1 to 251 in turn, the sync byte left out: they never look like a packet, nor like zeros.
inline Bytes Garbage(std::size_t size) {
    Bytes garbage(size);
    unsigned int byte = 0;
    for (unsigned char& out : garbage) {
        byte = byte % 251 + 1;
        out = static_cast<unsigned char>(byte == workstation::ts::tsSyncByte ? 252 : byte);
    }
    return garbage;
}

inline Bytes MediaPacket() {
    Bytes packet = Garbage(workstation::ts::tsPacketSize);
    packet[0] = workstation::ts::tsSyncByte;
    packet[1] = 0x01; // PID 0x100
    packet[2] = 0x00;
    packet[3] = 0x10;
    return packet;
}

// `pcr` in units of 1/27000000 s.
inline Bytes PcrPacket(std::uint64_t pcr, bool discontinuity = false, unsigned int pid = 0x100) {
    Bytes packet = MediaPacket();
    std::uint64_t const base = pcr / 300;
    std::uint64_t const extension = pcr % 300;
    std::uint64_t const coded = base << 15 | 0x7E00 | extension;
    packet[1] = static_cast<unsigned char>(pid >> 8);
    packet[2] = static_cast<unsigned char>(pid);
    packet[3] = 0x30;                        // adaptation field and payload
    packet[4] = 7;                           // its length
    packet[5] = discontinuity ? 0x90 : 0x10; // its flags
    for (std::size_t i = 0; i < 6; ++i) {
        packet[6 + i] = static_cast<unsigned char>(coded >> (40 - 8 * i));
    }
    return packet;
}

inline Bytes TickPacket(unsigned int tick) {
    auto const packet = workstation::ts::EncodeSystemTick(
        TsHelper::StreamSystickSystem, {tick, static_cast<int>(tick / 20), {}}, 0);
    return {packet.begin(), packet.end()};
}

// A media packet that has a tick packet's first bytes in its payload, and the sync byte at the
// same place of its payload as all packets of this kind.
inline Bytes MisleadingPacket(std::size_t at, unsigned int tick) {
    Bytes packet = MediaPacket();
    Bytes const fake = TickPacket(tick);
    std::copy(fake.begin(), fake.end() - static_cast<std::ptrdiff_t>(at),
              packet.begin() + static_cast<std::ptrdiff_t>(at));
    return packet;
}

class TestStream {
public:
    TestStream& Add(Bytes const& piece) {
        bytes_.insert(bytes_.end(), piece.begin(), piece.end());
        return *this;
    }
    TestStream& Media(unsigned int count) {
        for (unsigned int i = 0; i < count; ++i) {
            Add(MediaPacket());
        }
        return *this;
    }
    // A tick that is to be found.
    TestStream& Tick(unsigned int tick) {
        expected_.emplace_back(static_cast<unsigned int>(bytes_.size()), tick);
        return Add(TickPacket(tick));
    }
    TestStream& Zeros(std::size_t size) { return Add(Bytes(size)); }

    Bytes& Data() { return bytes_; }
    Ticks const& Expected() const { return expected_; }

private:
    Bytes bytes_;
    Ticks expected_;
};

inline Ticks Find(Bytes stream, unsigned int from = 0) {
    stream.shrink_to_fit(); // so that the address sanitizer sees a read past the end
    Ticks found;
    for (auto const& [offset, metadata] :
         TsHelper(stream).SystemTick(TsHelper::StreamSystickSystem, from)) {
        found.emplace_back(offset, metadata.tick);
    }
    return found;
}

} // namespace ts_test
