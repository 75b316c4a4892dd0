// Option -Y: writes a file of the hard disk over a stream file, a whole slot.
#pragma once

// Writes <number>.ts of the hard-disk mount over stream file `fileNumber`: always 94 MiB, whatever
// the size of the source. The stated length of the stream file stays as it is, and the service is
// not notified. Counters as for CopyStreamFile. With `unbounded` false the operation is refused.
// False after a line on standard error; what was written before stays in the pool.
bool OverwriteStreamFile(int fileNumber, long& statedLength, long& copied, bool unbounded);
