// The system ticks of a stream file and their byte offsets.
#pragma once

#include <utility>
#include <vector>

#include "StreamMetadata.h"

namespace streamfile {

// Byte offset and tick of each system tick of a stream file, in file order.
using TickTable = std::vector<std::pair<unsigned int, StreamMetadata>>;

} // namespace streamfile

// Reads a whole stream file and builds the table of its ticks.
//   fileNumber  0 to the size of the pool; with 0 the file cannot be opened
//   fileSize    set, before reading, to the bytes that are to be read: the stated length, or the
//               whole slot when `unbounded`
//   bytesRead   increased by the bytes read; never reset here
//   ticks       replaced after the file was read; unchanged when that failed
// True when at least one tick was found; false after a line on the console. A short read is no
// failure: the ticks in the bytes that were read are found.
bool GetStreamFileTicks(int fileNumber, long& fileSize, long& bytesRead, bool unbounded,
                        streamfile::TickTable& ticks);

// Finds a tick and stores its byte offset; of several equal ticks, that of the first. False, with
// `offset` unchanged, when the table does not contain exactly this tick.
bool TickToOffset(streamfile::TickTable& ticks, unsigned int tick, long& offset);
