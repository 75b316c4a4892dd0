// The mark in the table of files that the database knows a file as it is.
#pragma once

#include "pool/PoolImage.h"
#include "pool/SeamSession.h"

namespace workstation::service::ring {

// The pool is loaded, and has the file.
inline void MarkKnown(int fileNumber, bool isKnown) {
    pool::SeamSession().Pool().MarkKnown(fileNumber, isKnown);
}

} // namespace workstation::service::ring
