// What must hold before a tool works on a stream file. Each check says on standard error why it
// does not.
#pragma once

#include <optional>

#include "StreamFileAccess.h"

namespace streamfile {

// The pool lies on the file system that the tools work on. Can be asked before InitializePool.
bool FileSystemIsPool();

// The number is that of a stream file (1 or above), and the pool lies on the right file system.
bool IsWorkable(int fileNumber);

// Reaches the pool through the global fileAccess. Harmless to repeat.
bool InitializePool();

// The stream file was opened.
bool IsOpen(StreamFileAccess& file);

// The bytes that a tool means to move: the whole slot when `unbounded`, else the stated length of
// the file; none when that cannot be had or is 0.
std::optional<long> PlannedLength(StreamFileAccess& file, bool unbounded);

// Tells that there is no stream file with this number.
void InvalidFileNumberLine(int fileNumber);

} // namespace streamfile
