// Option -y: writes a named file of the hard disk over a stream file.
#include "OverwriteStreamFileFromName.h"

#include <iostream>
#include <optional>

#include "HardDiskFile.h"
#include "InsertLoop.h"
#include "InsertTarget.h"
#include "PoolChecks.h"
#include "StreamMgrApi.h"

using namespace streamfile;

namespace {

// The bytes that are to be written; none after a line on standard error.
std::optional<long> LengthToInsert(HardDiskFile& source, std::string const& path, bool unbounded) {
    if (unbounded)
        return slotSize;
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
    if (!IsWorkable(fileNumber) || !InitializePool())
        return false;

    TransferBuffer buffer;
    std::string const path = HardDiskPath(sourceName + ".ts");
    HardDiskFile source(path, HardDiskFile::Use::read);
    if (!source.IsOpen())
        return false;
    std::cout << "Copying requested stream file from '" << path << "' to D2B file number "
              << fileNumber << std::endl;
    StreamFileAccess file(fileNumber, false, externalProcess);
    if (!IsOpen(file))
        return false;

    auto const planned = LengthToInsert(source, path, unbounded);
    if (!planned)
        return false;
    statedLength = *planned;
    if (!InsertChunks(source, file, buffer, Insert::whatWasRead, *planned, copied))
        return false;
    std::cout << std::endl;

    file.Truncate(copied);
    bool const told = StreamMgrApi::UpdateFileSize(ipc, fileNumber);
    std::cout << "StreamMgrApi::UpdateFileSize() notify message returned: "
              << (told ? "success" : "fail") << std::endl;
    return true;
}
