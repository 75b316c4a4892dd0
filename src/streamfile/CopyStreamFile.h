// Options -x and -X: copies a stream file to the hard disk.
#pragma once

// Copies stream file `fileNumber` to <number>.ts on the hard-disk mount: its stated length, or the
// whole slot when `unbounded`. Stores the length that it means to copy in `statedLength` once that
// is known, and adds each chunk that was written to `copied`; the caller sets both to 0. False
// after a line on standard error when the copy failed; what was written by then stays. A stream
// file that ends early is copied as far as it goes, and that is no failure.
bool CopyStreamFile(int fileNumber, long& statedLength, long& copied, bool unbounded);
