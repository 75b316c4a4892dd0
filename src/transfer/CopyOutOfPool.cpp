// The copy loop of -x, -X, -e and --multiextract: from a stream file to the hard disk.
#include "transfer/CopyOutOfPool.h"

#include "common/Int32.h"
#include "transfer/ProgressMarks.h"

namespace transfer {

bool CopyOutOfPool(ChunkReader& chunks, HardDiskFile& output, TransferBuffer& buffer,
                   long& copied) {
    ProgressMarks marks;
    do {
        auto const got = chunks.Read(buffer.Data());
        if (!got || !output.Write(buffer.Data(), *got)) {
            return false;
        }
        marks.CountChunk();
        common::AddInt32(copied, *got);
    } while (!chunks.AtEnd());
    return true;
}

} // namespace transfer
