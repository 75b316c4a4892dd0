// Places where a recording was interrupted.
#pragma once

#include <cstdint>
#include <vector>

#include "evidence/SlotEnds.h"
#include "evidence/SlotReader.h"

namespace workstation::evidence {

// A place where tick numbers are missing, or two ticks in a row are more than a second apart: the
// times of the ticks on either side, in seconds since the epoch.
struct TimeGap {
    std::int32_t from;
    std::int32_t to;

    bool operator==(TimeGap const&) const = default;
};

// Whether there is a gap between two ticks in a row. A repetition of a tick is none.
bool IsGap(PlacedTick const& before, PlacedTick const& after);

// Appends the gaps within a slot in which two seconds or more are missing, in their order. They
// show in the times and the numbers of ticks that lie far apart, so parts of the slot are halved,
// and only where these disagree. Not found are missing ticks whose time has passed.
void AppendTimeGaps(SlotReader& slot, SlotEnds const& ends, std::vector<TimeGap>& gaps);

} // namespace workstation::evidence
