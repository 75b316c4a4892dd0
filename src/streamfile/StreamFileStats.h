// Option --stats: the runs of consecutive ticks in stream files.
#pragma once

// Prints the tick and time range of each run of one file, or of every file of the pool when
// `fileNum` is 0. `fileSize` and `bytesRead` are handed through to the tick table, file after
// file; `unbounded` has whole slots read. False only when the pool cannot be reached; what fails
// with a single file is told, and the next one follows.
bool StreamFileStats(int fileNum, long& fileSize, long& bytesRead, bool unbounded);
