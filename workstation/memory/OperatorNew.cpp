// Serves large blocks of memory from LargeBlock.h, everything else as ever. All other forms of new
// and delete for memory without special alignment come down to these.
#include <cstdlib>
#include <new>

#include "memory/LargeBlock.h"

void* operator new(std::size_t size) {
    for (;;) {
        void* const memory = size >= workstation::memory::largeBlockSize
                                 ? workstation::memory::AllocateLargeBlock(size)
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
    if (memory != nullptr && !workstation::memory::FreeLargeBlock(memory)) {
        std::free(memory);
    }
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}
