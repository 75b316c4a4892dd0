// Options --lsm and --lsmi: lists the table of stream files.
#include "shm/ListSharedMem.h"

#include <iomanip>
#include <iostream>
#include <iterator>

#include "StreamMgrFileMgmnt.h"
#include "common/FileAccess.h"
#include "common/LogEntry.h"
#include "common/StreamFileSize.h"

namespace {

char const* ControllerName(StreamMgrFileMgmnt::Control_t controller) {
    constexpr char const* names[] = {
        "ControlUnknown", "ControlPrimaryThread", "ControlStream1", "ControlStream2",
        "ControlStream3", "ControlStream4",       "ControlNonFile", "ControlExternalProc",
    };
    auto const index = static_cast<unsigned int>(controller);
    return index < std::size(names) ? names[index] : names[0];
}

bool IsIntermediate(StreamMgrFileMgmnt::FileMgmnt_t const& file) {
    bool const isPartlyWritten = file.fileSize >= 1 && file.fileSize < common::slotSize;
    return static_cast<unsigned int>(file.writeController) != 0 || isPartlyWritten;
}

void PrintRow(int fileNumber, StreamMgrFileMgmnt::FileMgmnt_t const& file) {
    std::cout << std::setw(13) << fileNumber;
    std::cout << std::setw(21) << ControllerName(file.writeController);
    std::cout << std::setw(21) << (file.streamDbMatch ? "true" : "false");
    std::cout << std::setw(21) << file.numProcAtomicRead;
    std::cout << std::setw(21) << file.fileSize << std::endl;
}

} // namespace

bool ListSharedMem(bool intermediateOnly) {
    if (StreamFileAccess::fileSystemType == common::fileSystemExt4) {
        common::LogEntry(common::logNote,
                         "Current file system is EXT4, no useful information in shared memory");
        return false;
    }
    if (StreamFileAccess::fileSystemType != common::fileSystemPool) {
        common::LogEntry(common::logNote,
                         "Current file system is UNKNOWN, no useful information in shared memory");
        return false;
    }
    if (!fileAccess.InitializeFileAccess(false, true)) {
        common::LogEntry(common::logError, "can not proceed without fileAccess initialized");
        return false;
    }

    long const poolSize = fileAccess.GetFilePoolSize();
    // clang-format off
    std::cout << "StreamFileNum      WriteController        StreamDBMatch    NumProcAtomicRead      FileSizeInBytes\n"
                 "-------------      ---------------        -------------    -----------------      ---------------\n";
    // clang-format on
    for (int fileNumber = 1; fileNumber <= poolSize; ++fileNumber) {
        StreamMgrFileMgmnt::FileMgmnt_t file{};
        if (!fileAccess.GetFileInfo(fileNumber, file)) {
            continue;
        }
        if (!intermediateOnly || IsIntermediate(file)) {
            PrintRow(fileNumber, file);
        }
    }
    // Deliberate: the size of the pool, also when only some of its files were listed.
    std::cout << "Total number of files: " << poolSize << "\n";
    return true;
}
