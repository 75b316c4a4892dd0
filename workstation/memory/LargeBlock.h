// Large blocks of memory that are filled from start to end as soon as they are there.
#pragma once

#include <cstddef>

namespace workstation::memory {

// From this size (32 MiB) on a block of memory is a large one. The one that counts is the buffer
// for a whole stream file: most of the time that it takes to read and scan one would go into making
// the buffer present, page by page.
constexpr std::size_t largeBlockSize = 0x2000000;

// Zero-filled memory, made of huge pages where the system has them, and made present ahead of its
// use. Null when there is none to be had. From any thread.
void* AllocateLargeBlock(std::size_t size);

// Gives a block back. False, and nothing done, for an address that is not that of a large block.
bool FreeLargeBlock(void* memory);

} // namespace workstation::memory
