// Option -Y: writes a file of the hard disk over a stream file, a whole slot.
#include "streamfile/OverwriteStreamFile.h"

#include <iostream>
#include <string>

#include "common/StreamFileSize.h"
#include "transfer/CopyIntoPool.h"
#include "transfer/HardDiskFile.h"
#include "transfer/PreChecks.h"
#include "transfer/TransferBuffer.h"

using namespace transfer;

bool OverwriteStreamFile(int fileNumber, long& statedLength, long& copied, bool unbounded) {
    if (!PoolIsReadyFor(fileNumber)) {
        return false;
    }
    TransferBuffer buffer;
    std::string const path = HardDiskPath(std::to_string(fileNumber) + ".ts");
    HardDiskFile source(path, HardDiskFile::Use::read);
    if (!source.IsOpen()) {
        return false;
    }
    std::cout << "Copying requested stream file from '" << path << "' to D2B filesystem"
              << std::endl;
    StreamFileAccess file(fileNumber, false, externalProcess);
    if (!IsOpen(file)) {
        return false;
    }
    if (!unbounded) {
        std::cerr << "This operation not allowed while StreamMgr is running " << std::endl;
        return false;
    }

    statedLength = common::slotSize;
    if (!CopyIntoPool(source, file, buffer, ChunkWrite::whole, common::slotSize, copied)) {
        return false;
    }
    std::cout << std::endl;
    return true;
}
