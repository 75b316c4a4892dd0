// The loop in which a file of the hard disk is written over a stream file, chunk by chunk.
#pragma once

#include "HardDiskFile.h"
#include "StreamFileAccess.h"
#include "TransferBuffer.h"

namespace streamfile {

// What is written for a chunk.
enum class Insert {
    wholeChunk,  // as much as was asked of the source, whatever it gave: past its end the buffer
                 // as it stands
    whatWasRead, // exactly what the source gave
};

// Writes `planned` bytes of the source over the stream file and adds each chunk to `copied`. A
// source that gives nothing is no end: with `whatWasRead` the loop goes on until it has delivered.
// A short write ends the loop, after a line about it, as if the plan had been fulfilled. False
// after a line on standard error when a read or a write failed.
bool InsertChunks(HardDiskFile& source, StreamFileAccess& file, TransferBuffer& buffer,
                  Insert insert, long planned, long& copied);

} // namespace streamfile
