// Options -x and -X: copies a stream file to the hard disk.
#include "streamfile/CopyStreamFile.h"

#include <iostream>
#include <string>

#include "transfer/ChunkReader.h"
#include "transfer/CopyOutOfPool.h"
#include "transfer/HardDiskFile.h"
#include "transfer/PreChecks.h"
#include "transfer/TransferBuffer.h"

using namespace transfer;

bool CopyStreamFile(int fileNumber, long& statedLength, long& copied, bool unbounded) {
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

    std::string const path = HardDiskPath(std::to_string(fileNumber) + ".ts");
    HardDiskFile output(path, HardDiskFile::Use::write);
    if (!output.IsOpen()) {
        return false;
    }
    std::cout << "Copying requested stream file to '" << path << "'" << std::endl;

    ChunkReader chunks(file, *length, unbounded);
    if (!CopyOutOfPool(chunks, output, buffer, copied)) {
        return false;
    }
    std::cout << std::endl;
    return true;
}
