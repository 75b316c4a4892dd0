// The memory that one chunk passes through.
#pragma once

#include <array>
#include <memory>

#include "../common/StreamFileSize.h"

namespace streamfile {

// One zero-filled chunk on the heap. It begins on a page of its own: the kernel moves whole pages
// noticeably faster than bytes that straddle them.
class TransferBuffer {
public:
    unsigned char* Data() { return chunk_->bytes.data(); }

private:
    struct alignas(4096) Chunk {
        std::array<unsigned char, chunkSize> bytes;
    };

    std::unique_ptr<Chunk> chunk_ = std::make_unique<Chunk>();
};

} // namespace streamfile
