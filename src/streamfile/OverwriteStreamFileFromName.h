// Option -y: writes a named file of the hard disk over a stream file.
#pragma once

#include <string>

class LinxIpc;

// Writes <sourceName>.ts of the hard-disk mount over stream file `fileNumber`: as many bytes as the
// source has, or a whole slot when `unbounded`. Then sets the stated length to the bytes written
// and notifies the service over `ipc`; a notification that fails does not change the result.
// Counters as for CopyStreamFile. False after a line on standard error: what was written before
// stays in the pool, and the stated length stays as it was.
bool OverwriteStreamFileFromName(LinxIpc& ipc, int fileNumber, std::string sourceName,
                                 long& statedLength, long& copied, bool unbounded);
