// Makes a transport stream with system ticks from one without.
#pragma once

#include <string>

#include "Trouble.h"
#include "ts/TickInserter.h"

namespace workstation::d2b {

// Copies the stream in the file `source` to the file `target` and adds ticks on the way. The
// source must be a transport stream from its first byte to its last, have a PCR, and have no ticks
// yet. `target` appears, or is replaced, when everything is done; it may be the source.
bool InsertTicks(std::string const& source, std::string const& target, ts::TickInserter inserter,
                 Trouble& why);

} // namespace workstation::d2b
