// Lets memory run out where a test wants it to. The linker leads every operator new of the program
// here (--wrap, see CMakeLists.txt, which also says under which name).
#include "FailingNew.h"

#include <atomic>
#include <limits>
#include <new>

namespace {

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> smallestFailingSize = never;
std::atomic<bool> nothrowFails = false;

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

void* RealNew(std::size_t size) __asm__("__real_" OPERATOR_NEW);
void* RealNothrowNew(std::size_t size, std::nothrow_t const& tag) noexcept
    __asm__("__real_" OPERATOR_NEW "RKSt9nothrow_t");

void* WrappedNew(std::size_t size) __asm__("__wrap_" OPERATOR_NEW);
void* WrappedNothrowNew(std::size_t size, std::nothrow_t const& tag) noexcept
    __asm__("__wrap_" OPERATOR_NEW "RKSt9nothrow_t");

void* WrappedNew(std::size_t size) {
    if (size >= smallestFailingSize) {
        throw std::bad_alloc();
    }
    return RealNew(size);
}

void* WrappedNothrowNew(std::size_t size, std::nothrow_t const& tag) noexcept {
    return nothrowFails || size >= smallestFailingSize ? nullptr : RealNothrowNew(size, tag);
}
