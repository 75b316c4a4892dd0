// Options -x and -X: copies a stream file to the hard disk.
#include "CopyStreamFile.h"

#include <iostream>
#include <string>

#include "HardDiskFile.h"
#include "ReadFromPool.h"

using namespace streamfile;

bool CopyStreamFile(int fileNumber, long& statedLength, long& copied, bool unbounded) {
    auto const copy = [&](ChunkSource const& source, TransferBuffer& buffer, long planned) {
        std::string const path = HardDiskPath(std::to_string(fileNumber) + ".ts");
        HardDiskFile output(path, HardDiskFile::Use::write);
        if (!output.IsOpen()) {
            return false;
        }
        std::cout << "Copying requested stream file to '" << path << "'" << std::endl;

        HardDiskSink sink(output, buffer);
        if (!MoveChunks(source, planned, sink, ProgressMarks(), copied)) {
            return false;
        }
        std::cout << std::endl;
        return true;
    };
    return ReadFromPool(fileNumber, unbounded, statedLength, copy);
}
