// How much time has passed in a transport stream, by its PCR.
#include "ts/PcrClock.h"

#include <bitstream/mpeg/ts.h>

namespace workstation::ts {
namespace {

// A PCR is a 33-bit base in steps of 300 units, and an extension below that.
constexpr std::uint64_t unitsPerBase = 300;
constexpr std::uint64_t wrap = (std::uint64_t{1} << 33) * unitsPerBase;

// The standard requires a PCR every 0.1 s. A step of more than ten times that is a jump.
constexpr std::uint64_t longestStep = PcrClock::unitsPerSecond;

// An adaptation field with a PCR: the flags, and the six bytes of the PCR.
constexpr unsigned char shortestFieldWithPcr = 1 + 6;

} // namespace

std::optional<std::uint64_t> ProgramClockReference(TsPacketView packet) {
    unsigned char const* const ts = packet.data();
    if (ts_get_transporterror(ts) || !ts_has_adaptation(ts) ||
        ts_get_adaptation(ts) < shortestFieldWithPcr || !tsaf_has_pcr(ts)) {
        return std::nullopt;
    }
    return tsaf_get_pcr(ts) * unitsPerBase + tsaf_get_pcrext(ts);
}

void PcrClock::See(TsPacketView packet) {
    auto const pcr = ProgramClockReference(packet);
    if (!pcr || (pcr_ && ts_get_pid(packet.data()) != pid_)) {
        return;
    }
    if (!pcr_) {
        pid_ = ts_get_pid(packet.data());
    } else if (!tsaf_has_discontinuity(packet.data())) {
        std::uint64_t const step = (*pcr + wrap - *pcr_) % wrap;
        elapsed_ += step <= longestStep ? step : 0;
    }
    pcr_ = pcr;
}

} // namespace workstation::ts
