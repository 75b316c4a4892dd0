// The lock that makes one process the owner of a recorder's directory.
#pragma once

#include "FileDescriptor.h"

namespace workstation::pool {

// Makes this process the owner of the recorder's directory until the descriptor is closed: the
// stream manager for its whole life, the pool tool while it replaces the pool. The directory must
// exist. Throws Failure: EBUSY while another process owns it.
FileDescriptor LockRoot();

} // namespace workstation::pool
