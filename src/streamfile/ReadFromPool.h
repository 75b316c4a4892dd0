// The common start of the tools that read a stream file from front to back.
#pragma once

#include "ChunkLoop.h"
#include "PoolChecks.h"
#include "TransferBuffer.h"

namespace streamfile {

// Opens a stream file, stores the bytes that are to be read in `statedLength`, and has `move` do
// the rest with the source, a buffer and that number. False after a line on standard error, or
// what `move` says.
template <typename Move>
bool ReadFromPool(int fileNumber, bool unbounded, long& statedLength, Move move) {
    if (!IsWorkable(fileNumber) || !InitializePool()) {
        return false;
    }
    TransferBuffer buffer;
    StreamFileAccess file(fileNumber, 0);
    if (!IsOpen(file)) {
        return false;
    }
    auto const planned = PlannedLength(file, unbounded);
    if (!planned) {
        return false;
    }
    statedLength = *planned;
    return move(ChunkSource{file, *planned, unbounded}, buffer, *planned);
}

} // namespace streamfile
