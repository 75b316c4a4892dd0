// Transport streams in which some bytes are no packets.
#pragma once

#include <cstddef>
#include <vector>

#include "BigEndian.h"
#include "ts/TestStream.h"

namespace recording_test {

using ts_test::Bytes;
using ts_test::Garbage;

// A packet of PID 0x100 that no other one equals.
inline Bytes NumberedPacket(std::uint32_t number) {
    Bytes packet = ts_test::MediaPacket();
    workstation::PutBig32(&packet[4], number | 0x80808080); // no byte is a sync byte or zero
    return packet;
}

class DamagedStream {
public:
    // Packets that are to be found.
    DamagedStream& Good(unsigned int count) {
        for (unsigned int i = 0; i < count; ++i) {
            Good(NumberedPacket(number_++));
        }
        return *this;
    }
    DamagedStream& Good(Bytes const& packet) {
        found_.insert(found_.end(), packet.begin(), packet.end());
        return Bad(packet);
    }
    // Bytes that are to be dropped.
    DamagedStream& Bad(Bytes const& bytes) {
        all_.insert(all_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    // The first bytes of a packet.
    DamagedStream& BadCut(std::size_t size) {
        Bytes packet = NumberedPacket(number_++);
        packet.resize(size);
        return Bad(packet);
    }

    Bytes const& All() const { return all_; }
    Bytes const& Found() const { return found_; }

private:
    Bytes all_;
    Bytes found_;
    std::uint32_t number_ = 0;
};

} // namespace recording_test
