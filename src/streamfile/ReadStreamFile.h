// Option --multiread: reads a stream file and discards the bytes.
#pragma once

// Reads stream file `fileNumber` of the pool: its stated length, or the whole slot when
// `unbounded`. Counters, result and messages are those of CopyStreamFile, but each progress mark
// shows the file number.
bool ReadStreamFile(int fileNumber, long& statedLength, long& readBytes, bool unbounded);
