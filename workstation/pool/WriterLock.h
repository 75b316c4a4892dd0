// The lock that the one writer of a stream file holds.
#pragma once

namespace workstation::pool {

class PoolImage;

// Takes the lock of a stream file, which is the byte range of its table entry. The lock belongs to
// the open file of `descriptor`, which must be open for writing, and ends with it: the kernel
// releases it however the process ends. Throws Failure: EBUSY while another writer holds it.
void LockForWriting(int descriptor, int fileNumber);

// Whether the stream file is being written now, by this process or another one. False also when
// the image cannot be opened.
bool HasWriter(PoolImage const& image, int fileNumber);

// The same for an image that `descriptor` has open, if only for reading; false when the lock cannot
// be looked at.
bool HasWriter(int descriptor, int fileNumber);

// Sets the write controller of a stream file back to 0 unless the file has a writer: its last one
// died. Returns whether there was anything to reset; false also when the image cannot be opened.
bool ResetAbandonedController(PoolImage& image, int fileNumber);

} // namespace workstation::pool
