// Whether a stream file is free.
#pragma once

#include "pool/PoolImage.h"

namespace workstation::service::ring {

// Free is a file that states no length and that no process writes. The pool has the file.
inline bool IsFree(pool::PoolImage const& image, int fileNumber) {
    return image.Get(fileNumber, pool::EntryWord::length) == 0 &&
           image.Get(fileNumber, pool::EntryWord::controller) == 0;
}

} // namespace workstation::service::ring
