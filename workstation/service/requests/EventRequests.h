// The requests that concern events and stream files.
#pragma once

#include "StreamFileAccess.h"
#include "ipc/Endpoint.h"
#include "service/requests/RequestRouter.h"
#include "store/EventStore.h"

namespace workstation::service::requests {

// What the event requests need of the service; all of it outlives them.
struct EventContext {
    ipc::Endpoint& endpoint;
    StreamFileAccess& pool;
    store::EventStore& store;
};

// Has the event operations, file chains, backups and changed file sizes handled.
void AddEventRequests(RequestRouter& router, EventContext const& context);

// The streams (bit n: stream n + 1) that an event made after the fact keeps. Streams 1 and 3 are
// the routine ones, 2 and 4 the critical ones. 0 for a state that there is none of.
unsigned int StreamsKept(unsigned int state);

// The limit of a split in KiB: below 1024 a size counts GiB, from there on KiB. It is never below
// one slot, since files are not split.
unsigned int SplitLimitKiB(unsigned int size);

} // namespace workstation::service::requests
