// The memory of a copy, for one chunk.
#pragma once

#include <array>
#include <memory>

#include "common/StreamFileSize.h"

namespace transfer {

// One zero-filled chunk on the heap. It starts on a page boundary: the kernel copies page-aligned
// bytes noticeably faster.
class TransferBuffer {
public:
    unsigned char* Data() { return chunk_->bytes.data(); }

private:
    struct alignas(4096) Chunk {
        std::array<unsigned char, common::chunkSize> bytes;
    };

    std::unique_ptr<Chunk> chunk_ = std::make_unique<Chunk>();
};

} // namespace transfer
