// Whether a stream file is free.
#pragma once

#include "pool/PoolImage.h"

namespace workstation::service::ring {

// Free is a file that states no length and that no process writes. The pool has the file.
inline bool IsFree(pool::PoolImage const& image, int fileNumber) {
    return image.Get(fileNumber, pool::EntryWord::length) == 0 &&
           image.Get(fileNumber, pool::EntryWord::controller) == 0;
}

inline int CountFree(pool::PoolImage const& image) {
    int count = 0;
    for (int number = 1; number <= image.FileCount(); ++number) {
        count += IsFree(image, number) ? 1 : 0;
    }
    return count;
}

} // namespace workstation::service::ring
