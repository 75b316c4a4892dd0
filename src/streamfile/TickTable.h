// The system ticks of a stream file, and where in it they stand.
#pragma once

#include <utility>
#include <vector>

#include "StreamMetadata.h"

namespace streamfile {

// Byte offset and tick of each system tick of a stream file, in file order.
using TickTable = std::vector<std::pair<unsigned int, StreamMetadata>>;

} // namespace streamfile

// Reads a whole stream file and builds the table of its ticks.
//   fileNum    0 up to the size of the pool; what is no file fails when it is opened
//   fileSize   set, before reading, to the bytes that are to be read: the stated length, or the
//              whole slot when `unbounded`
//   bytesRead  increased by what was read; never reset here
//   ticks      replaced once the file was read, untouched before
// True when at least one tick was found. Every failure has been told on the console by then. A
// short read is none: the ticks of what was read are looked for all the same.
bool GetStreamFileTicks(int fileNum, long& fileSize, long& bytesRead, bool unbounded,
                        streamfile::TickTable& ticks);

// Looks a tick up and stores its byte offset; of several equal ticks, that of the first. False,
// with `offset` untouched, when the table does not hold exactly this tick.
bool TickToOffset(streamfile::TickTable& ticks, unsigned int tick, long& offset);
