// The pool as a whole, shared by every tool of the process.
#pragma once

#include "StreamFileAccess.h"

// Constructed before main begins, unloaded once on the way out.
extern StreamFileAccess fileAccess;

namespace cli {

// Values of StreamFileAccess::fileSystemType; any other is an unknown file system.
enum FileSystemType : int {
    fileSystemExt4 = 1,
    fileSystemPool = 2, // the pre-allocated pool, the only one that the tools work on
};

} // namespace cli
