// Option --tickinfo: the ticks of stream files, or the distances between them.
#pragma once

// Prints each tick of one file, or of every file of the pool when `fileNumber` is 0. With mode 'm'
// prints only the largest and the smallest distance in bytes between consecutive ticks. The other
// arguments and the result are those of StreamFileStats.
bool StreamFileTickInfo(int fileNumber, long& fileSize, char mode, long& bytesRead, bool unbounded);
