// The lock that the one writer of a stream file holds.
#pragma once

#include "Trouble.h"

namespace workstation::pool {

class PoolImage;

// Takes the lock of a stream file, which is the byte range of its table entry. The lock belongs to
// the open file behind `descriptor`, which must be open for writing, and ends with it: the kernel
// gives it up whatever becomes of the process. EBUSY in `why` while another one holds it.
bool LockForWriting(int descriptor, int fileNumber, Trouble& why);

// True when somebody writes the stream file now.
bool HasWriter(PoolImage const& image, int fileNumber);

// Sets the write controller of a stream file back to "nobody" unless the file has a writer: its
// last one died. True when there was something to put right.
bool ResetAbandonedController(PoolImage& image, int fileNumber);

} // namespace workstation::pool
