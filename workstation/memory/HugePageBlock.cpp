// Large blocks of memory that consist of huge pages.
#include "memory/HugePageBlock.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <mutex>
#include <new>

#include "memory/Prefault.h"

namespace workstation::memory {
namespace {

// Blocks begin at the start of a huge page (2 MiB).
constexpr std::size_t alignment = 0x200000;

// In a page of its own before the block.
struct Header {
    Header* next;
    std::size_t mappedSize; // from the header's page to the end of the block
    pid_t owner;            // the process that allocated it
    Prefault prefault;
};

std::size_t HeaderSize() {
    static auto const pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return pageSize;
}

// Memory is allocated before any static object is initialised, and freed after all are destroyed.
constinit std::mutex mutex;
constinit Header* blocks = nullptr; // a list of all; guarded by the mutex

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

// Removes the block from the list. Null when there is no such block.
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

void* AllocateHugePageBlock(std::size_t size) {
    if (size > SIZE_MAX - HeaderSize() - alignment) {
        return nullptr;
    }
    std::size_t const mappedSize = HeaderSize() + size;
    unsigned char* const mapped = MapAligned(mappedSize, HeaderSize());
    if (mapped == nullptr) {
        return nullptr;
    }
    unsigned char* const memory = mapped + HeaderSize();
    madvise(memory, size,
            MADV_HUGEPAGE); // a request only: without huge pages the block consists of small ones
    auto* const header = new (mapped) Header{nullptr, mappedSize, getpid(), Prefault(memory, size)};
    std::lock_guard const lock(mutex);
    header->next = blocks;
    blocks = header;
    return memory;
}

bool FreeHugePageBlock(void* memory) {
    if (reinterpret_cast<std::uintptr_t>(memory) % alignment != 0) {
        return false; // without the lock, for nearly all memory
    }
    Header* const header = Unlist(memory);
    if (header == nullptr) {
        return false;
    }
    std::size_t const mappedSize = header->mappedSize;
    if (header->owner == getpid()) {
        header->~Header(); // a child process inherits the block, but not the thread
    }
    munmap(header, mappedSize);
    return true;
}

} // namespace workstation::memory
