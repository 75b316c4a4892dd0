// Makes a transport stream with system ticks from one without.
#pragma once

#include <string>

#include "ts/TickInserter.h"

namespace workstation::d2b {

// Copies the stream in the file `source` to the file `target` and adds ticks on the way. The
// source must be a transport stream from its first byte to its last, have a PCR, and have no ticks
// yet; otherwise, and when a file cannot be read or written, throws Failure. `target` appears, or
// is replaced, when everything is done; it may be the source.
void InsertTicks(std::string const& source, std::string const& target, ts::TickInserter inserter);

} // namespace workstation::d2b
