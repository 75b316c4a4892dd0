// The reaper: wipes the oldest stream files to make room for recordings.
#pragma once

#include "pool/PoolSession.h"
#include "store/EventStore.h"

namespace workstation::service::ring {

// Only files that the database knows and no event holds are wiped, and none that is being written.
class Reaper {
public:
    // What is passed by reference outlives the reaper. A pool is loaded.
    Reaper(pool::PoolSession& session, store::EventStore& store)
        : session_(session)
        , store_(store) {}

    // Wipes the oldest files until a tenth of the pool is free, or as many as may be wiped. Returns
    // how many were wiped. Throws a Failure.
    unsigned int Reap();

    // Wipes the oldest file that no process writes. False when no file can be wiped. Throws a
    // Failure.
    bool WipeOldest();

private:
    bool Wipe(store::RecordedFile const& wiped);

    pool::PoolSession& session_;
    store::EventStore& store_;
};

} // namespace workstation::service::ring
