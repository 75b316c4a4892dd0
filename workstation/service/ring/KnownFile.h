// The mark in the table of files that the database knows a file as it is.
#pragma once

#include "pool/PoolImage.h"
#include "pool/PoolSession.h"

namespace workstation::service::ring {

// The pool is loaded, and has the file.
inline void MarkKnown(int fileNumber, bool isKnown) {
    pool::PoolSession::Instance().Pool()->Set(fileNumber, pool::EntryWord::dbMatch,
                                              isKnown ? 1 : 0);
}

} // namespace workstation::service::ring
