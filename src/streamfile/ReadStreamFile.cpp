// Option --multiread: reads a stream file and throws the bytes away.
#include "ReadStreamFile.h"

#include <iostream>
#include <string>

#include "ReadFromPool.h"

using namespace streamfile;

namespace {

class DiscardingSink {
public:
    explicit DiscardingSink(TransferBuffer& buffer)
        : buffer_(buffer) {}

    unsigned char* Place() { return buffer_.Data(); }
    bool Take(int) { return true; }

private:
    TransferBuffer& buffer_;
};

} // namespace

bool ReadStreamFile(int fileNumber, long& statedLength, long& readBytes, bool unbounded) {
    auto const read = [&](ChunkSource const& source, TransferBuffer& buffer, long planned) {
        DiscardingSink sink(buffer);
        ProgressMarks const marks(std::to_string(fileNumber) + ", ");
        if (!MoveChunks(source, planned, sink, marks, readBytes)) {
            return false;
        }
        std::cout << std::endl;
        return true;
    };
    return ReadFromPool(fileNumber, unbounded, statedLength, read);
}
