// Option -y: writes a named file of the hard disk over a stream file.
#pragma once

#include <string>

class LinxIpc;

// Writes <sourceName>.ts of the hard-disk mount over stream file `fileNumber`, as many bytes as the
// source holds (a whole slot when `unbounded`), sets the stated length to what was written, and
// tells the service over `ipc`; what the service makes of it does not change the result. Counters
// as for CopyStreamFile. False after a line on standard error; what was written by then stays, and
// the stated length too.
bool OverwriteStreamFileFromName(LinxIpc& ipc, int fileNumber, std::string sourceName,
                                 long& statedLength, long& copied, bool unbounded);
