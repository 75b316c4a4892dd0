// Option -y: writes a named file of the hard disk over a stream file.
#include "streamfile/OverwriteStreamFileFromName.h"

#include <iostream>
#include <optional>

#include "StreamMgrApi.h"
#include "common/StreamFileSize.h"
#include "transfer/CopyIntoPool.h"
#include "transfer/HardDiskFile.h"
#include "transfer/PreChecks.h"
#include "transfer/TransferBuffer.h"

using namespace transfer;

namespace {

// The bytes to write; nullopt after a line on standard error.
std::optional<long> LengthToWrite(HardDiskFile const& source, std::string const& path,
                                  bool unbounded) {
    if (unbounded) {
        return common::slotSize;
    }
    auto const size = source.Size();
    if (!size) {
        std::cerr << "error: fstat() failure on [" << path << "]" << std::endl;
        return std::nullopt;
    }
    std::cout << "fstat returned a file size of " << *size << " bytes" << std::endl;
    return size;
}

} // namespace

bool OverwriteStreamFileFromName(LinxIpc& ipc, int fileNumber, std::string sourceName,
                                 long& statedLength, long& copied, bool unbounded) {
    if (!PoolIsReadyFor(fileNumber)) {
        return false;
    }
    TransferBuffer buffer;
    std::string const path = HardDiskPath(sourceName + ".ts");
    HardDiskFile source(path, HardDiskFile::Use::read);
    if (!source.IsOpen()) {
        return false;
    }
    std::cout << "Copying requested stream file from '" << path << "' to D2B file number "
              << fileNumber << std::endl;
    StreamFileAccess file(fileNumber, false, externalProcess);
    if (!IsOpen(file)) {
        return false;
    }
    auto const length = LengthToWrite(source, path, unbounded);
    if (!length) {
        return false;
    }

    statedLength = *length;
    if (!CopyIntoPool(source, file, buffer, ChunkWrite::whatWasRead, *length, copied)) {
        return false;
    }
    std::cout << std::endl;

    file.Truncate(copied);
    bool const confirmed = StreamMgrApi::UpdateFileSize(ipc, fileNumber);
    std::cout << "StreamMgrApi::UpdateFileSize() notify message returned: "
              << (confirmed ? "success" : "fail") << std::endl;
    return true;
}
