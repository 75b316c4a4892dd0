// Reads a stream file of the pool chunk by chunk.
#include "transfer/ChunkReader.h"

#include <algorithm>

#include "common/StreamFileSize.h"
#include "transfer/ErrorLines.h"

namespace transfer {

ChunkReader::ChunkReader(StreamFileAccess& file, long fileSize, bool unbounded, long count)
    : file_(file)
    , fileSize_(fileSize)
    , unbounded_(unbounded)
    , remaining_(count) {}

std::optional<int> ChunkReader::Read(unsigned char* place) {
    auto const request =
        static_cast<unsigned int>(std::clamp<long>(remaining_, 0, common::chunkSize));
    int const got = file_.Read(place, request, unbounded_);
    if (got == -1) {
        SystemErrorLine({"Unexpected read status: "});
        return std::nullopt;
    }
    bool const isShort = static_cast<unsigned int>(got) != request;
    if (isShort) {
        ShortTransferLine("Read", fileSize_, request, got);
    }
    remaining_ -= got;
    atEnd_ = isShort || remaining_ <= 0;
    return got;
}

} // namespace transfer
