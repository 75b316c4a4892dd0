// The pool session of a process that uses the pool through the seam.
#pragma once

#include "pool/PoolSession.h"

namespace workstation::pool {

// Exists before any code of the program runs and is never destroyed, so static objects and signal
// handlers can use it at any time.
PoolSession& SeamSession();

} // namespace workstation::pool
