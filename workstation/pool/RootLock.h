// Who owns a recorder's directory.
#pragma once

#include "FileDescriptor.h"
#include "Trouble.h"

namespace workstation::pool {

// Makes this process the owner of the recorder's directory for as long as the descriptor lives:
// the stream manager for its whole life, the pool tool while it replaces the pool. None, with
// errno EBUSY in `why`, while another process owns it. The directory must exist.
FileDescriptor LockRoot(Trouble& why);

} // namespace workstation::pool
