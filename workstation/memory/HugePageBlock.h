// Large blocks of memory that consist of huge pages.
#pragma once

#include <cstddef>

namespace workstation::memory {

// Blocks of memory of 32 MiB and more are worth it. The one that matters is the buffer for a whole
// stream file: without huge pages, most of the time to read and scan a file is spent in making the
// buffer present, page by page.
constexpr std::size_t hugePageBlockSize = 0x2000000;

// Allocates zero-filled memory, of huge pages where the system has them, and makes it present in
// the background (Prefault.h). Null when there is not enough memory. From any thread.
void* AllocateHugePageBlock(std::size_t size);

// Frees a block. Returns false, and does nothing, for an address that is not that of such a block.
// From any thread.
bool FreeHugePageBlock(void* memory);

} // namespace workstation::memory
