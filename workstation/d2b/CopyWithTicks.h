// Copies a transport stream and inserts system ticks.
#pragma once

#include <string>

#include "ts/TickInserter.h"

namespace workstation::d2b {

// Copies the stream in the file `source` to the file `target` and inserts ticks. The
// source must be a transport stream from its first byte to its last, have a PCR, and have no ticks
// yet; otherwise, and when a file cannot be read or written, throws Failure. `target` appears, or
// is replaced, when everything is done; it may be the source.
void CopyWithTicks(std::string const& source, std::string const& target, ts::TickInserter inserter);

} // namespace workstation::d2b
