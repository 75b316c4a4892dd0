// Option --multiread: reads a stream file and discards the bytes.
#include "streamfile/ReadStreamFile.h"

#include <iostream>
#include <string>

#include "common/Int32.h"
#include "transfer/ChunkReader.h"
#include "transfer/PreChecks.h"
#include "transfer/ProgressMarks.h"
#include "transfer/TransferBuffer.h"

using namespace transfer;

bool ReadStreamFile(int fileNumber, long& statedLength, long& readBytes, bool unbounded) {
    if (!PoolIsReadyFor(fileNumber)) {
        return false;
    }
    TransferBuffer buffer;
    StreamFileAccess file(fileNumber, 0);
    auto const length = LengthToRead(file, unbounded);
    if (!length) {
        return false;
    }
    statedLength = *length;

    ChunkReader chunks(file, *length, unbounded);
    ProgressMarks marks(std::to_string(fileNumber) + ", ");
    do {
        auto const got = chunks.Read(buffer.Data());
        if (!got) {
            return false;
        }
        marks.CountChunk();
        common::AddInt32(readBytes, *got);
    } while (!chunks.AtEnd());
    std::cout << std::endl;
    return true;
}
