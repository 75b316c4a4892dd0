// Large blocks of memory that are filled from start to end as soon as they are there.
#include "memory/LargeBlock.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <mutex>
#include <new>

#include "memory/FaultAhead.h"

namespace workstation::memory {
namespace {

// Blocks begin at the start of a huge page (2 MiB).
constexpr std::size_t alignment = 0x200000;

// Stands in a page of its own in front of the block.
struct Header {
    Header* next;
    std::size_t mappedSize; // from the header's page to the end of the block
    pid_t owner;            // the process that allocated it
    FaultAhead faultAhead;
};

std::size_t HeaderSize() {
    static auto const pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return pageSize;
}

// Memory is allocated before anything is initialised, and freed after all is destroyed.
constinit std::mutex mutex;
constinit Header* blocks = nullptr; // all of them; guarded by the mutex

// Maps `size` bytes of which byte `offset` is aligned. Null on failure.
unsigned char* MapAligned(std::size_t size, std::size_t offset) {
    void* const mapped =
        mmap(nullptr, size + alignment, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) {
        return nullptr;
    }
    auto* const start = static_cast<unsigned char*>(mapped);
    auto const address = reinterpret_cast<std::uintptr_t>(start) + offset;
    std::size_t const before = (alignment - address % alignment) % alignment;
    if (before > 0) {
        munmap(start, before);
    }
    munmap(start + before + size, alignment - before);
    return start + before;
}

// Takes the block off the list. Null when there is no such block.
Header* Unlist(void const* memory) {
    std::lock_guard const lock(mutex);
    for (Header** link = &blocks; *link != nullptr; link = &(*link)->next) {
        Header* const header = *link;
        if (reinterpret_cast<unsigned char*>(header) + HeaderSize() == memory) {
            *link = header->next;
            return header;
        }
    }
    return nullptr;
}

} // namespace

void* AllocateLargeBlock(std::size_t size) {
    if (size > SIZE_MAX - HeaderSize() - alignment) {
        return nullptr;
    }
    std::size_t const mappedSize = HeaderSize() + size;
    unsigned char* const mapped = MapAligned(mappedSize, HeaderSize());
    if (mapped == nullptr) {
        return nullptr;
    }
    unsigned char* const memory = mapped + HeaderSize();
    madvise(memory, size, MADV_HUGEPAGE); // where there are none, small ones do
    auto* const header =
        new (mapped) Header{nullptr, mappedSize, getpid(), FaultAhead(memory, size)};
    std::lock_guard const lock(mutex);
    header->next = blocks;
    blocks = header;
    return memory;
}

bool FreeLargeBlock(void* memory) {
    if (reinterpret_cast<std::uintptr_t>(memory) % alignment != 0) {
        return false; // the quick answer for nearly everything
    }
    Header* const header = Unlist(memory);
    if (header == nullptr) {
        return false;
    }
    std::size_t const mappedSize = header->mappedSize;
    if (header->owner == getpid()) {
        header->~Header(); // a child process has the block, but not the thread
    }
    munmap(header, mappedSize);
    return true;
}

} // namespace workstation::memory
