// Lets memory run out where a test wants it to: replaces the allocation of the whole program.
#include "FailingNew.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> smallestFailingSize = never;
std::atomic<bool> nothrowFails = false;

void* Allocate(std::size_t size) {
    return size >= smallestFailingSize ? nullptr : std::malloc(size == 0 ? 1 : size);
}

} // namespace

FailingNew::FailingNew(std::size_t smallestFailing) {
    smallestFailingSize = smallestFailing;
}

FailingNew::~FailingNew() {
    smallestFailingSize = never;
}

FailingNothrowNew::FailingNothrowNew() {
    nothrowFails = true;
}

FailingNothrowNew::~FailingNothrowNew() {
    nothrowFails = false;
}

void* operator new(std::size_t size) {
    void* const block = Allocate(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return nothrowFails ? nullptr : Allocate(size);
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

void operator delete(void* block, std::nothrow_t const&) noexcept {
    std::free(block);
}
