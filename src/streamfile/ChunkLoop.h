// The loop in which a stream file is read, chunk by chunk.
#pragma once

#include <algorithm>
#include <optional>

#include "../common/Int32.h"
#include "../common/StreamFileSize.h"
#include "Messages.h"
#include "ProgressMarks.h"
#include "StreamFileAccess.h"

namespace streamfile {

// A stream file that is read, with what its messages and its reads need to know.
struct ChunkSource {
    StreamFileAccess& file;
    long fileSize; // as it stands in the line about a short read
    bool unbounded;

    // Reads up to `request` bytes to `place` and returns how many came: fewer after a line about
    // the short read, none of it (not even 0) after a line about an error.
    std::optional<int> Read(unsigned char* place, unsigned int request) const {
        int const got = file.Read(place, request, unbounded);
        if (got == -1) {
            SystemErrorLine({"Unexpected read status: "});
            return std::nullopt;
        }
        if (static_cast<unsigned int>(got) != request) {
            ShortTransferLine("Read", fileSize, request, got);
        }
        return got;
    }
};

// Reads `planned` bytes from the source and hands each chunk to the sink, which says where the
// next chunk goes (Place) and takes it (Take; false when that failed, after a line about it). Each
// chunk that was taken is counted in `marks` and in `moved`. Always makes one pass, of 0 bytes when
// nothing is planned; a short read ends the loop as if the source had ended there. False when a
// read or the sink failed.
template <typename Sink>
bool MoveChunks(ChunkSource const& source, long planned, Sink& sink, ProgressMarks marks,
                long& moved) {
    long remaining = planned;
    bool last = false;
    do {
        auto const request = static_cast<unsigned int>(std::clamp<long>(remaining, 0, chunkSize));
        auto const got = source.Read(sink.Place(), request);
        if (!got || !sink.Take(*got)) {
            return false;
        }
        marks.CountChunk();
        device::AddInt32(moved, *got);
        remaining -= *got;
        last = static_cast<unsigned int>(*got) != request || remaining <= 0;
    } while (!last);
    return true;
}

} // namespace streamfile
