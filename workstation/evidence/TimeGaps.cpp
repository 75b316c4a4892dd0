// Places where a recording was interrupted.
#include "evidence/TimeGaps.h"

#include <cstdlib>
#include <optional>

#include "ts/TickInserter.h"
#include "ts/TsPacket.h"

namespace workstation::evidence {
namespace {

using ts::tsPacketSize;

std::int64_t SecondsBetween(PlacedTick const& before, PlacedTick const& after) {
    return std::int64_t{after.time} - before.time;
}

// By more than what whole seconds hide.
bool NumbersAndTimesDisagree(PlacedTick const& before, PlacedTick const& after) {
    constexpr std::int64_t ticksPerSecond = ts::TickInserter::usualRate;
    auto const passed = static_cast<std::int32_t>(after.tick - before.tick);
    return std::abs(ticksPerSecond * SecondsBetween(before, after) - passed) > ticksPerSecond;
}

// A tick between two others, if possible in the second half.
std::optional<PlacedTick> TickBetween(SlotReader& slot, PlacedTick const& before,
                                      PlacedTick const& after) {
    std::uint64_t const begin = before.offset + tsPacketSize;
    if (begin >= after.offset) {
        return std::nullopt;
    }
    std::uint64_t const packets = (after.offset - begin) / tsPacketSize;
    std::uint64_t const middle = begin + packets / 2 * tsPacketSize;
    auto const tick = FirstTickIn(slot, middle, after.offset);
    return tick ? tick : FirstTickIn(slot, begin, middle);
}

void Search(SlotReader& slot, PlacedTick const& before, PlacedTick const& after,
            std::vector<TimeGap>& gaps) {
    if (!NumbersAndTimesDisagree(before, after)) {
        return;
    }
    if (auto const between = TickBetween(slot, before, after)) {
        Search(slot, before, *between, gaps);
        Search(slot, *between, after, gaps);
    } else if (IsGap(before, after)) {
        gaps.push_back({before.time, after.time});
    }
}

} // namespace

bool IsGap(PlacedTick const& before, PlacedTick const& after) {
    return after.tick - before.tick > 1 || std::abs(SecondsBetween(before, after)) > 1;
}

void AppendTimeGaps(SlotReader& slot, SlotEnds const& ends, std::vector<TimeGap>& gaps) {
    Search(slot, ends.first, ends.last, gaps);
}

} // namespace workstation::evidence
