// Bringing pool and database in line at the start of the service.
#pragma once

#include "store/EventStore.h"

namespace workstation::service::ring {

// An earlier run may have ended at any moment: finishes the recordings that it left, and the wipes,
// and gives free the files whose writers died. Called with the pool
// loaded, before anything is recorded.
void RecoverRecordings(store::EventStore& store);

} // namespace workstation::service::ring
