// Option --tickinfo: the ticks of stream files, or how far apart they lie.
#pragma once

// Prints each tick of one file, or of every file of the pool when `fileNum` is 0; with mode 'm'
// only the largest and smallest distance in bytes between consecutive ticks. The other arguments
// and the result are as for StreamFileStats.
bool StreamFileTickInfo(int fileNum, long& fileSize, char mode, long& bytesRead, bool unbounded);
