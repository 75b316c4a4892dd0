// The pool as a whole, shared by every tool of the process.
#pragma once

#include "StreamFileAccess.h"

// Constructed before main begins, unloaded when the process ends.
extern StreamFileAccess fileAccess;

namespace common {

// Values of StreamFileAccess::fileSystemType; any other is an unknown file system. The seam has no
// names for them.
enum FileSystemType : int {
    fileSystemExt4 = 1,
    fileSystemPool = 2, // the pre-allocated pool, the only one that the tools work on
};

} // namespace common
