// The copy loop of -y and -Y: from the hard disk over a stream file.
#pragma once

#include "StreamFileAccess.h"
#include "StreamMgrFileMgmnt.h"
#include "transfer/HardDiskFile.h"
#include "transfer/TransferBuffer.h"

namespace transfer {

// The write controller of a stream file that a process other than the service writes. A number,
// since the recorder's headers are not known to have a name for it.
inline constexpr auto externalProcess = static_cast<StreamMgrFileMgmnt::Control_t>(7);

// What is written for each chunk.
enum class ChunkWrite {
    whole,       // as many bytes as were requested from the source: after the end of the source,
                 // what the buffer still holds
    whatWasRead, // the bytes that the source gave
};

// Writes `length` bytes of the source over the stream file, prints a progress mark for every eighth
// chunk, and adds the bytes of each to `copied`. A short write ends the loop with a line about it,
// and the result is true. With `whatWasRead` the loop does not end at the end of the source: it
// goes on until the source has given `length` bytes. False after a line on standard error when a
// read or a write failed.
bool CopyIntoPool(HardDiskFile& source, StreamFileAccess& file, TransferBuffer& buffer,
                  ChunkWrite chunkWrite, long length, long& copied);

} // namespace transfer
