// Option -Y: writes a file of the hard disk over a stream file, a whole slot.
#include "OverwriteStreamFile.h"

#include <iostream>
#include <string>

#include "Insertion.h"

using namespace streamfile;

bool OverwriteStreamFile(int fileNumber, long& statedLength, long& copied, bool unbounded) {
    auto const overwrite = [&](Insertion& insertion) {
        if (!unbounded) {
            std::cerr << "This operation not allowed while StreamMgr is running " << std::endl;
            return false;
        }
        statedLength = slotSize;
        if (!insertion.Run(Insert::wholeChunk, slotSize, copied)) {
            return false;
        }
        std::cout << std::endl;
        return true;
    };
    return InsertIntoPool(fileNumber, HardDiskPath(std::to_string(fileNumber) + ".ts"),
                          "D2B filesystem", overwrite);
}
