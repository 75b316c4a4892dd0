// All forms of new and delete, for blocks from malloc and for blocks of huge pages.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "memory/HugePageBlock.h"
#include "support/ChildProcess.h"

using workstation::memory::hugePageBlockSize;

namespace {

constexpr std::size_t sizes[] = {0, 1, 4096, hugePageBlockSize - 1, hugePageBlockSize, 0x5E00000};

// Writes the ends of the memory, so that wrong memory shows.
void Use(void* memory, std::size_t size) {
    ASSERT_NE(memory, nullptr);
    if (size > 0) {
        static_cast<unsigned char volatile*>(memory)[0] = 1;
        static_cast<unsigned char volatile*>(memory)[size - 1] = 1;
    }
}

TEST(OperatorNew, PlainFormsServeEverySize) {
    for (std::size_t const size : sizes) {
        void* memory = ::operator new(size);
        Use(memory, size);
        ::operator delete(memory);
        memory = ::operator new[](size);
        Use(memory, size);
        ::operator delete[](memory);
    }
}

TEST(OperatorNew, BlocksOfTheLimitAndMoreBeginWithAHugePage) {
    for (std::size_t const size : {hugePageBlockSize, hugePageBlockSize + 1}) {
        void* const memory = ::operator new(size);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 0x200000, 0U);
        ::operator delete(memory);
    }
}

// Allocators and delete expressions pass the size back, where the compiler does so.
TEST(OperatorNew, SizedFormsServeEverySize) {
    for (std::size_t const size : sizes) {
        std::allocator<unsigned char> allocator;
        unsigned char* const memory = allocator.allocate(size);
        Use(memory, size);
        allocator.deallocate(memory, size);
        auto* const array = new unsigned char[size];
        Use(array, size);
        delete[] array;
    }
}

TEST(OperatorNew, NonThrowingFormsServeEverySize) {
    for (std::size_t const size : sizes) {
        void* memory = ::operator new(size, std::nothrow);
        Use(memory, size);
        ::operator delete(memory, std::nothrow);
        memory = ::operator new[](size, std::nothrow);
        Use(memory, size);
        ::operator delete[](memory, std::nothrow);
    }
}

TEST(OperatorNew, AlignedFormsServeEverySizeAndAlignment) {
    for (std::size_t const alignment : {std::size_t{64}, std::size_t{4096}, hugePageBlockSize}) {
        for (std::size_t const size : sizes) {
            auto const asked = std::align_val_t{alignment};
            void* memory = ::operator new(size, asked);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % alignment, 0U);
            Use(memory, size);
            ::operator delete(memory, asked);
            memory = ::operator new[](size, asked);
            Use(memory, size);
            ::operator delete[](memory, asked);
            memory = ::operator new[](size, asked, std::nothrow);
            Use(memory, size);
            ::operator delete[](memory, asked, std::nothrow);
        }
    }
}

TEST(OperatorNew, NullMayBeDeleted) {
    ::operator delete(nullptr);
    ::operator delete[](nullptr);
}

// As the standard requires: null, the new handler, std::bad_alloc.
TEST(OperatorNew, MemoryThatCannotBeObtainedIsReported) {
    ChildProcess child([] {
        static int handlerCalls = 0;
        rlimit limit = {};
        getrlimit(RLIMIT_AS, &limit);
        limit.rlim_cur = 0x4000000;
        if (setrlimit(RLIMIT_AS, &limit) != 0 ||
            ::operator new(0x5E00000, std::nothrow) != nullptr) {
            return 1;
        }
        std::set_new_handler([] {
            ++handlerCalls;
            std::set_new_handler(nullptr);
        });
        try {
            std::vector<unsigned char> const buffer(0x5E00000);
            return 2;
        } catch (std::bad_alloc const&) {
            return handlerCalls == 1 ? 0 : 3;
        }
    });
    EXPECT_EQ(child.Wait(), 0);
}

// As the tool does when it is interrupted: the block is still being made present.
TEST(OperatorNew, ProcessMayEndWithHugePageBlocksInUse) {
    for (int i = 0; i < 10; ++i) {
        ChildProcess child([]() -> int {
            static void* memory = ::operator new(0x5E00000);
            std::exit(memory != nullptr ? 0 : 1);
        });
        EXPECT_EQ(child.Wait(), 0);
    }
}

} // namespace
