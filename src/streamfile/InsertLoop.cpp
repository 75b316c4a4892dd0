// The loop in which a file of the hard disk is written over a stream file, chunk by chunk.
#include "InsertLoop.h"

#include <algorithm>

#include "../common/Int32.h"
#include "Messages.h"
#include "ProgressMarks.h"

namespace streamfile {

bool InsertChunks(HardDiskFile& source, StreamFileAccess& file, TransferBuffer& buffer,
                  Insert insert, long planned, long& copied) {
    bool const wholeChunks = insert == Insert::wholeChunk;
    ProgressMarks marks;
    long remaining = planned;
    bool last = false;
    do {
        auto const request = static_cast<unsigned int>(std::min<long>(remaining, chunkSize));
        auto const got = source.Read(buffer.Data(), request);
        if (!got)
            return false;
        unsigned int const count = wholeChunks ? request : *got;
        int const written = file.Write(buffer.Data(), count);
        if (written == -1) {
            SystemErrorLine({"Unexpected write status: "});
            return false;
        }
        bool const isShort = static_cast<unsigned int>(written) != count;
        if (isShort)
            ShortTransferLine(wholeChunks ? "Read" : "Write", planned, request, written);
        marks.CountChunk();
        remaining -= written;
        device::AddInt32(copied, written);
        last = isShort || remaining == 0;
    } while (!last);
    return true;
}

} // namespace streamfile
