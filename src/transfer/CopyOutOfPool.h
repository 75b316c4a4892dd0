// The copy loop of -x, -X, -e and --multiextract: from a stream file to the hard disk.
#pragma once

#include "transfer/ChunkReader.h"
#include "transfer/HardDiskFile.h"
#include "transfer/TransferBuffer.h"

namespace transfer {

// Writes all chunks to `output`, prints a progress mark for every eighth, and adds the bytes of
// each chunk that was written to `copied`. False after a line on standard error when a read or a
// write failed.
bool CopyOutOfPool(ChunkReader& chunks, HardDiskFile& output, TransferBuffer& buffer, long& copied);

} // namespace transfer
