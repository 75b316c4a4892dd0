// Reads a stream file of the pool chunk by chunk.
#pragma once

#include <optional>

#include "StreamFileAccess.h"

namespace transfer {

// Reads on from the position of an open stream file:
//
//     ChunkReader chunks(file, fileSize, unbounded);
//     do {
//         auto const got = chunks.Read(place);
//         ...
//     } while (!chunks.AtEnd());
//
// The loop makes at least one pass: with nothing to read, one of 0 bytes.
class ChunkReader {
public:
    // Reads `count` bytes of a file of `fileSize` bytes, which the line about a short read shows.
    // With `unbounded` they may lie past the stated length. `file` must outlive the reader.
    ChunkReader(StreamFileAccess& file, long fileSize, bool unbounded, long count);

    // Reads all of the file.
    ChunkReader(StreamFileAccess& file, long fileSize, bool unbounded)
        : ChunkReader(file, fileSize, unbounded, fileSize) {}

    // Reads the next chunk to `place`, which has room for common::chunkSize bytes. Returns how many
    // bytes were read: fewer than requested after a line about the short read, nullopt after a line
    // about an error.
    std::optional<int> Read(unsigned char* place);

    // Everything was read. A short read counts as the end.
    bool AtEnd() const { return atEnd_; }

private:
    StreamFileAccess& file_;
    long fileSize_;
    bool unbounded_;
    long remaining_;
    bool atEnd_ = false;
};

} // namespace transfer
