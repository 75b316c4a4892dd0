// Paces a file in real time: says when its packets are due, by their PCR.
#include "service/recording/RealTimePacer.h"

#include <cstdint>

namespace workstation::service::recording {
namespace {

// A stream that is later than this does not catch up.
constexpr std::chrono::seconds longestDelay(1);

RecordingClock::Time::duration MediaTime(std::uint64_t elapsed) {
    return std::chrono::nanoseconds(elapsed * 1000 / (ts::PcrClock::unitsPerSecond / 1000000));
}

ts::TsPacketView PacketAt(std::span<unsigned char const> packets, std::size_t offset) {
    return packets.subspan(offset).first<ts::tsPacketSize>();
}

} // namespace

RealTimePacer::Block RealTimePacer::Next(std::span<unsigned char const> packets, Time now) {
    pcr_.See(PacketAt(packets, 0));
    std::size_t size = ts::tsPacketSize;
    while (size < packets.size() && !ts::ProgramClockReference(PacketAt(packets, size))) {
        size += ts::tsPacketSize;
    }
    if (!pcr_.Running()) {
        return {size, now};
    }

    auto const elapsed = MediaTime(pcr_.Elapsed());
    if (!start_ || *start_ + elapsed + longestDelay < now) {
        start_ = now - elapsed;
    }
    return {size, *start_ + elapsed};
}

} // namespace workstation::service::recording
