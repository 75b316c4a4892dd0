// Looks for packets that are missing from a transport stream, by their continuity_counter.
#include "evidence/ContinuityCheck.h"

#include <algorithm>

#include <bitstream/mpeg/ts.h>

#include "ts/PcrClock.h"
#include "ts/SystemTickPacket.h"

namespace workstation::evidence {
namespace {

constexpr std::uint16_t nullPid = 0x1FFF;

// The bytes of a PCR in its packet: a repetition has a PCR of its own.
constexpr std::size_t pcrBegin = 6;
constexpr std::size_t pcrEnd = 12;

bool AnnouncesJump(ts::TsPacketView packet) {
    return ts_has_adaptation(packet.data()) && ts_get_adaptation(packet.data()) > 0 &&
           tsaf_has_discontinuity(packet.data());
}

} // namespace

bool ContinuityCheck::IsRepetition(Last const& last, ts::TsPacketView packet) const {
    if (last.isRepetition) {
        return false;
    }
    auto const former = packetAt_(last.offset);
    std::size_t const from = ts::ProgramClockReference(packet) ? pcrBegin : packet.size();
    std::size_t const to = std::max(from, std::min(pcrEnd, packet.size()));
    return former.size() == packet.size() &&
           std::equal(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(from),
                      former.begin()) &&
           std::equal(packet.begin() + static_cast<std::ptrdiff_t>(to), packet.end(),
                      former.begin() + static_cast<std::ptrdiff_t>(to));
}

std::optional<unsigned int> ContinuityCheck::Take(std::uint64_t offset, ts::TsPacketView packet) {
    std::uint16_t const pid = ts_get_pid(packet.data());
    if (pid == nullPid || pid == ts::systemTickPid) {
        return std::nullopt;
    }
    Last& last = last_[pid];
    std::uint8_t const counter = ts_get_cc(packet.data());
    std::optional<unsigned int> missing;
    bool isRepetition = false;
    if (last.isKnown && !AnnouncesJump(packet)) {
        bool const counts = ts_has_payload(packet.data());
        isRepetition = counts && counter == last.counter && IsRepetition(last, packet);
        unsigned int const step = (counter - last.counter) & 0xFU;
        unsigned int const expected = counts && !isRepetition ? 1 : 0;
        if (step != expected) {
            missing = (step - expected) & 0xFU;
        }
    }
    last = {offset, counter, true, isRepetition};
    return missing;
}

void ContinuityCheck::TakeUntrusted(std::uint64_t offset, ts::TsPacketView packet) {
    Last& last = last_[ts_get_pid(packet.data())];
    Last const former = last;
    if (!former.isKnown || Take(offset, packet)) {
        last = former;
    }
}

} // namespace workstation::evidence
