// Option -e: copies a stream file to the hard disk with a range of ticks cut out.
#pragma once

// Copies the prolog (up to the first tick of the range) and the epilog (from its last tick on) to
// <number>.<first tick>-<last tick>.ts on the hard-disk mount. The bytes of the first tick are
// deleted, those of the last tick stay. A tick of 0 is omitted: the range then starts at the start
// of the file, or ends at its end.
//   fileSize    set to the size of the file that the range is cut out of
//   bytesCount  increased by the bytes read to find the ticks, then by the bytes written; that it
//               holds the sum is deliberate
//   unbounded   the file is the whole slot, whatever its stated length
// False after a line on standard error; what was written before stays on the hard disk.
bool EditAndExtractStreamFile(int fileNumber, long& fileSize, long& bytesCount, bool unbounded,
                              int firstTick, int lastTick);
