// Options -x and -X: copies a stream file to the hard disk.
#pragma once

// Copies stream file `fileNumber` to <number>.ts on the hard-disk mount: its stated length, or the
// whole slot when `unbounded`.
//   statedLength  set to the bytes that are to be copied, once that is known; the caller sets it
//                 to 0 before the call
//   copied        increased by each chunk that was written; the caller sets it to 0 as well
// False after a line on standard error when the copy failed; what was written before stays on the
// hard disk. A stream file that ends early is copied as far as it goes, and the result is true.
bool CopyStreamFile(int fileNumber, long& statedLength, long& copied, bool unbounded);
