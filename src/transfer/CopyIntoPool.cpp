// The copy loop of -y and -Y: from the hard disk over a stream file.
#include "transfer/CopyIntoPool.h"

#include <algorithm>

#include "common/Int32.h"
#include "common/StreamFileSize.h"
#include "transfer/ErrorLines.h"
#include "transfer/ProgressMarks.h"

namespace transfer {

bool CopyIntoPool(HardDiskFile& source, StreamFileAccess& file, TransferBuffer& buffer,
                  ChunkWrite chunkWrite, long length, long& copied) {
    bool const wholeChunks = chunkWrite == ChunkWrite::whole;
    ProgressMarks marks;
    long remaining = length;
    bool atEnd = false;
    do {
        auto const request =
            static_cast<unsigned int>(std::min<long>(remaining, common::chunkSize));
        auto const got = source.Read(buffer.Data(), request);
        if (!got) {
            return false;
        }
        unsigned int const count = wholeChunks ? request : *got;
        int const written = file.Write(buffer.Data(), count);
        if (written == -1) {
            SystemErrorLine({"Unexpected write status: "});
            return false;
        }
        bool const isShort = static_cast<unsigned int>(written) != count;
        if (isShort) {
            // Deliberate: -Y calls a short write a read, and -y shows the bytes requested from the
            // source as those expected to be written. Scripts read these lines.
            ShortTransferLine(wholeChunks ? "Read" : "Write", length, request, written);
        }
        marks.CountChunk();
        common::AddInt32(copied, written);
        remaining -= written;
        atEnd = isShort || remaining == 0;
    } while (!atEnd);
    return true;
}

} // namespace transfer
