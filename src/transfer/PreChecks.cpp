// What must hold before a tool works on a stream file.
#include "transfer/PreChecks.h"

#include <iostream>

#include "common/FileAccess.h"
#include "common/StreamFileSize.h"
#include "transfer/ErrorLines.h"

namespace transfer {

bool FileSystemIsPool() {
    switch (StreamFileAccess::fileSystemType) {
    case common::fileSystemPool:
        return true;
    case common::fileSystemExt4:
        std::cerr << "Current file system is EXT4, use linux command line" << std::endl;
        return false;
    default:
        std::cerr << "Current file system is UNKNOWN, no useful information in shared memory"
                  << std::endl;
        return false;
    }
}

bool InitializePool() {
    if (fileAccess.InitializeFileAccess(false, true)) {
        return true;
    }
    std::cerr << "can not proceed without fileAccess initialized" << std::endl;
    return false;
}

bool PoolIsReadyFor(int fileNumber) {
    if (fileNumber < 1) {
        InvalidFileNumberLine(fileNumber);
        return false;
    }
    return FileSystemIsPool() && InitializePool();
}

bool IsOpen(StreamFileAccess& file) {
    if (file.IsOpen()) {
        return true;
    }
    SystemErrorLine({"could not open stream file: "});
    return false;
}

std::optional<long> LengthToRead(StreamFileAccess& file, bool unbounded) {
    if (!IsOpen(file)) {
        return std::nullopt;
    }
    if (unbounded) {
        return common::slotSize;
    }
    long const length = file.DataLength();
    if (length < 0) {
        SystemErrorLine({"error getting length of file: "});
        return std::nullopt;
    }
    if (length == 0) {
        std::cerr << "zero-length file.  File was not copied." << std::endl;
        return std::nullopt;
    }
    return length;
}

void InvalidFileNumberLine(int fileNumber) {
    std::cerr << "File number is invalid: " << fileNumber << std::endl;
}

} // namespace transfer
