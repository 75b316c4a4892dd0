// Option -e: copies a stream file to the hard disk with a range of ticks cut out.
#pragma once

// Copies what stands before the first tick of the range and what stands from its last tick on to
// <number>.<firsttick>-<lasttick>.ts on the hard-disk mount. The first tick itself goes, the last
// one stays. A tick of 0 is omitted: the range then begins with the file, or ends with it.
//   fileSize    set to the size that the cut is reckoned with
//   bytesCount  increased by the bytes read to find the ticks, then by the bytes written; the sum
//               is what the callers expect
//   unbounded   the whole slot is the file, whatever its stated length
// False after a line on standard error; what was written by then stays.
bool EditAndExtractStreamFile(int fileNum, long& fileSize, long& bytesCount, bool unbounded,
                              int firsttick, int lasttick);
