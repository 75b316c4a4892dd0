// Option -Y: writes a file of the hard disk over a stream file, a whole slot.
#pragma once

// Writes <number>.ts of the hard-disk mount over stream file `fileNumber`: always 94 MiB, whatever
// the source holds. The stated length of the stream file stays, and the service is not told.
// Counters as for CopyStreamFile. Only the `unbounded` form is offered. False after a line on
// standard error; what was written by then stays.
bool OverwriteStreamFile(int fileNumber, long& statedLength, long& copied, bool unbounded);
