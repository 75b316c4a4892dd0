// Options -x and -X: copies a stream file to the hard disk.
#include "CopyStreamFile.h"

#include <iostream>

#include "ChunkLoop.h"
#include "HardDiskFile.h"
#include "PoolChecks.h"

using namespace streamfile;

bool CopyStreamFile(int fileNumber, long& statedLength, long& copied, bool unbounded) {
    if (!IsWorkable(fileNumber) || !InitializePool())
        return false;

    TransferBuffer buffer;
    StreamFileAccess file(fileNumber, 0);
    if (!IsOpen(file))
        return false;
    auto const planned = PlannedLength(file, unbounded);
    if (!planned)
        return false;
    statedLength = *planned;

    std::string const path = HardDiskPath(std::to_string(fileNumber) + ".ts");
    HardDiskFile output(path, HardDiskFile::Use::write);
    if (!output.IsOpen())
        return false;
    std::cout << "Copying requested stream file to '" << path << "'" << std::endl;

    HardDiskSink sink(output, buffer);
    if (!MoveChunks({file, *planned, unbounded}, *planned, sink, ProgressMarks(), copied))
        return false;
    std::cout << std::endl;
    return true;
}
