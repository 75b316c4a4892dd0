// What must hold before a tool works on a stream file. A check that fails prints the reason on
// standard error.
#pragma once

#include <optional>

#include "StreamFileAccess.h"

namespace transfer {

// The pool lies on the file system that the tools work on. May be called before InitializePool.
bool FileSystemIsPool();

// Makes the pool ready for use through the global fileAccess. May be called again.
bool InitializePool();

// The common start of the copies: the number is 1 or above, the pool lies on the right file system
// and was made ready for use.
bool PoolIsReadyFor(int fileNumber);

// The stream file was opened. To be called directly after that: the line shows errno.
bool IsOpen(StreamFileAccess& file);

// The bytes to read from a stream file that was opened just before: the whole slot when
// `unbounded`, else its stated length. nullopt when the file is not open, or when its length is
// unknown or 0.
std::optional<long> LengthToRead(StreamFileAccess& file, bool unbounded);

// The line about a number that no stream file has.
void InvalidFileNumberLine(int fileNumber);

} // namespace transfer
