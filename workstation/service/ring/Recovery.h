// Brings the pool and the database in line at the start of the service.
#pragma once

#include "pool/PoolSession.h"
#include "store/EventStore.h"

namespace workstation::service::ring {

// Finishes what an earlier run left when it was cut off: recordings, wipes, and the write
// controllers of processes that died. Called with the pool loaded, before anything is recorded.
// Throws a Failure.
void RecoverRecordings(pool::PoolSession& session, store::EventStore& store);

} // namespace workstation::service::ring
