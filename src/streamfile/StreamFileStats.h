// Option --stats: the runs of consecutive ticks in stream files.
#pragma once

// Prints the tick range and the time range of each run in one file, or in every file of the pool
// when `fileNumber` is 0. `fileSize`, `bytesRead` and `unbounded` are those of GetStreamFileTicks,
// which is called for each file. False only when the pool cannot be used; a file that fails is
// reported, and the next one follows.
bool StreamFileStats(int fileNumber, long& fileSize, long& bytesRead, bool unbounded);
