// Option --multiread: reads a stream file and throws the bytes away.
#pragma once

// Reads stream file `fileNumber` through the pool: its stated length, or the whole slot when
// `unbounded`. Counters, result and messages are those of CopyStreamFile, but for the progress
// marks, which name the file.
bool ReadStreamFile(int fileNumber, long& statedLength, long& readBytes, bool unbounded);
