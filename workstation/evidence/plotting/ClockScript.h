// The clock of a slot as gnuplot draws it.
#pragma once

#include "evidence/plotting/Picture.h"
#include "evidence/plotting/SlotClock.h"

namespace workstation::evidence::plotting {

// Two graphs: the ticks over the bytes of the slot, and the bit rate over local time, each with the
// gaps and, in a row for each kind, the faults. Throws Failure when the slot has no ticks.
Picture PictureOf(SlotClock const& clock, PictureFormat format);

} // namespace workstation::evidence::plotting
