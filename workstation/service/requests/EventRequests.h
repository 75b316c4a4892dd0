// The requests about events, stream files and the database.
#pragma once

#include "ipc/Endpoint.h"
#include "pool/PoolImage.h"
#include "service/requests/RequestRouter.h"
#include "store/EventStore.h"

namespace workstation::service::requests {

// What the handlers need of the service. Everything outlives the router.
struct EventContext {
    ipc::Endpoint& endpoint;
    pool::PoolImage* pool; // null when the pool is a directory
    store::EventStore& store;
};

// Registers the handlers of event operations, file chains, backups and changed file sizes.
void AddEventRequests(RequestRouter& router, EventContext const& context);

// The streams (bit n: stream n + 1) that an event made after the fact keeps, by the state in the
// request. Streams 1 and 3 are the routine ones, 2 and 4 the critical ones. 0 for an unknown state.
unsigned int StreamsKept(unsigned int state);

// The limit of a split in KiB. A requested size is in KiB when it is a multiple of 1024, which is
// how clients state MiB, else in GiB. The limit is at least one slot, since files are not split,
// and less than 4 TiB.
unsigned int SplitLimitKiB(unsigned int size);

} // namespace workstation::service::requests
