// Replaces the global operator new, so that the buffer for a whole stream file consists of huge
// pages. The tool allocates that buffer as a std::vector, which the seam's TsHelper requires, and
// so has no other way to get them. docs/benchmarks.md, "What the huge-page allocator saves", has
// the figures.
//
// Blocks of 32 MiB and more come from HugePageBlock.h, all others from malloc. All other forms of
// new and delete for memory without special alignment call these.
#include <cstdlib>
#include <new>

#include "memory/HugePageBlock.h"

void* operator new(std::size_t size) {
    for (;;) {
        void* const memory = size >= workstation::memory::hugePageBlockSize
                                 ? workstation::memory::AllocateHugePageBlock(size)
                                 : std::malloc(size > 0 ? size : 1);
        if (memory != nullptr) {
            return memory;
        }
        std::new_handler const handler = std::get_new_handler();
        if (handler == nullptr) {
            throw std::bad_alloc();
        }
        handler();
    }
}

void operator delete(void* memory) noexcept {
    if (memory != nullptr && !workstation::memory::FreeHugePageBlock(memory)) {
        std::free(memory);
    }
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}
