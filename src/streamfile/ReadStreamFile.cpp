// Option --multiread: reads a stream file and throws the bytes away.
#include "ReadStreamFile.h"

#include <iostream>
#include <string>

#include "ChunkLoop.h"
#include "PoolChecks.h"
#include "TransferBuffer.h"

using namespace streamfile;

namespace {

class DiscardingSink {
public:
    explicit DiscardingSink(TransferBuffer& buffer)
        : buffer_(buffer) {}

    unsigned char* Place() { return buffer_.Data(); }
    bool Take(unsigned int) { return true; }

private:
    TransferBuffer& buffer_;
};

} // namespace

bool ReadStreamFile(int fileNumber, long& statedLength, long& readBytes, bool unbounded) {
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

    DiscardingSink sink(buffer);
    ProgressMarks const marks(std::to_string(fileNumber) + ", ");
    if (!MoveChunks({file, *planned, unbounded}, *planned, sink, marks, readBytes))
        return false;
    std::cout << std::endl;
    return true;
}
