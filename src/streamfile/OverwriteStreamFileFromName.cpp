// Option -y: writes a named file of the hard disk over a stream file.
#include "OverwriteStreamFileFromName.h"

#include <iostream>
#include <optional>

#include "Insertion.h"
#include "StreamMgrApi.h"

using namespace streamfile;

namespace {

// The bytes that are to be written; none after a line on standard error.
std::optional<long> LengthToInsert(HardDiskFile& source, std::string const& path, bool unbounded) {
    if (unbounded) {
        return slotSize;
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
    std::string const path = HardDiskPath(sourceName + ".ts");
    auto const overwrite = [&](Insertion& insertion) {
        auto const planned = LengthToInsert(insertion.Source(), path, unbounded);
        if (!planned) {
            return false;
        }
        statedLength = *planned;
        if (!insertion.Run(Insert::whatWasRead, *planned, copied)) {
            return false;
        }
        std::cout << std::endl;

        insertion.File().Truncate(copied);
        bool const told = StreamMgrApi::UpdateFileSize(ipc, fileNumber);
        std::cout << "StreamMgrApi::UpdateFileSize() notify message returned: "
                  << (told ? "success" : "fail") << std::endl;
        return true;
    };
    return InsertIntoPool(fileNumber, path, "D2B file number " + std::to_string(fileNumber),
                          overwrite);
}
