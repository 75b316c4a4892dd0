// The walk of the tick tools over one stream file or over all.
#pragma once

#include "../common/FileAccess.h"
#include "PoolChecks.h"

namespace streamfile {

// Calls `visit` with `fileNum`, or with every file number of the pool when it is 0. False, after a
// line on standard error, when the pool cannot be reached.
template <typename Visit>
bool ForEachStreamFile(int fileNum, Visit visit) {
    if (!InitializePool()) {
        return false;
    }
    if (fileNum != 0) {
        visit(fileNum);
        return true;
    }
    long const poolSize = fileAccess.GetFilePoolSize();
    for (int number = 1; number <= poolSize; ++number) {
        visit(number);
    }
    return true;
}

} // namespace streamfile
