// Large blocks of memory, with and without the thread that makes them present.
#include "memory/HugePageBlock.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <thread>
#include <vector>

using workstation::memory::AllocateHugePageBlock;
using workstation::memory::FreeHugePageBlock;
using workstation::memory::hugePageBlockSize;

namespace {

constexpr std::size_t slotSize = 0x5E00000;

std::span<unsigned char> Allocate(std::size_t size) {
    void* const memory = AllocateHugePageBlock(size);
    EXPECT_NE(memory, nullptr);
    return {static_cast<unsigned char*>(memory), memory == nullptr ? 0 : size};
}

bool IsFilledWith(unsigned char byte, std::span<unsigned char const> memory) {
    return memory.front() == byte &&
           std::memcmp(memory.data(), memory.data() + 1, memory.size() - 1) == 0;
}

// Runs `work` in a child process and returns how that ended, as waitpid says.
template <typename Work>
int StatusOfChild(Work work) {
    pid_t const child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

TEST(HugePageBlock, IsZeroFilledAndWritableToTheLastByte) {
    for (std::size_t const size :
         {std::size_t{1}, hugePageBlockSize, hugePageBlockSize + 1, slotSize}) {
        auto const memory = Allocate(size);
        EXPECT_TRUE(IsFilledWith(0, memory));
        std::memset(memory.data(), 0xA5, memory.size());
        EXPECT_TRUE(IsFilledWith(0xA5, memory));
        EXPECT_TRUE(FreeHugePageBlock(memory.data()));
    }
}

TEST(HugePageBlock, MayBeFreedAtOnceUntouched) {
    for (int i = 0; i < 50; ++i) {
        EXPECT_TRUE(FreeHugePageBlock(Allocate(slotSize).data()));
    }
}

TEST(HugePageBlock, WhatIsWrittenWhileItIsMadePresentStays) {
    for (int round = 0; round < 10; ++round) {
        auto const memory = Allocate(hugePageBlockSize);
        for (std::size_t at = 0; at < memory.size(); at += 4096) {
            memory[at] = static_cast<unsigned char>(at / 4096 + 1);
        }
        std::size_t wrong = 0;
        for (std::size_t at = 0; at < memory.size(); at += 4096) {
            wrong += memory[at] == static_cast<unsigned char>(at / 4096 + 1) ? 0 : 1;
        }
        EXPECT_EQ(wrong, 0U);
        EXPECT_TRUE(FreeHugePageBlock(memory.data()));
    }
}

TEST(HugePageBlock, OtherMemoryIsNotTakenForOne) {
    constexpr std::size_t hugePage = 0x200000;
    std::unique_ptr<void, decltype(&std::free)> const aligned(
        std::aligned_alloc(hugePage, hugePage), &std::free);
    auto const memory = Allocate(hugePageBlockSize);
    EXPECT_FALSE(FreeHugePageBlock(aligned.get()));
    EXPECT_FALSE(FreeHugePageBlock(memory.data() + 1));
    EXPECT_FALSE(FreeHugePageBlock(memory.data() + hugePage));
    EXPECT_TRUE(FreeHugePageBlock(memory.data()));
    EXPECT_FALSE(FreeHugePageBlock(nullptr));
}

TEST(HugePageBlock, SeveralAreFreedInAnyOrder) {
    auto const first = Allocate(hugePageBlockSize);
    auto const second = Allocate(hugePageBlockSize);
    auto const third = Allocate(hugePageBlockSize);
    EXPECT_TRUE(FreeHugePageBlock(second.data()));
    EXPECT_TRUE(FreeHugePageBlock(first.data()));
    EXPECT_TRUE(FreeHugePageBlock(third.data()));
}

TEST(HugePageBlock, ThreadsAllocateAndFreeSideBySide) {
    std::array<std::jthread, 4> threads;
    for (std::jthread& thread : threads) {
        thread = std::jthread([] {
            for (int round = 0; round < 10; ++round) {
                auto const memory = Allocate(hugePageBlockSize);
                memory.back() = 1;
                EXPECT_TRUE(FreeHugePageBlock(memory.data()));
            }
        });
    }
}

TEST(HugePageBlock, ThereIsNoneLargerThanTheAddressSpace) {
    std::vector<std::size_t> sizes{SIZE_MAX, SIZE_MAX - 1, SIZE_MAX - 4096};
    if (sizeof(std::size_t) > 4) {
        sizes.push_back(SIZE_MAX / 2); // which 32-bit address spaces have room for
    }
    for (std::size_t const size : sizes) {
        EXPECT_EQ(AllocateHugePageBlock(size), nullptr);
    }
}

TEST(HugePageBlock, WorksOnOneProcessor) {
    EXPECT_EQ(StatusOfChild([] {
                  cpu_set_t all;
                  sched_getaffinity(0, sizeof all, &all);
                  int processor = 0;
                  while (!CPU_ISSET(processor, &all)) {
                      ++processor;
                  }
                  cpu_set_t one;
                  CPU_ZERO(&one);
                  CPU_SET(processor, &one);
                  sched_setaffinity(0, sizeof one, &one);
                  auto const memory = Allocate(slotSize);
                  memory.back() = 1;
                  _exit(FreeHugePageBlock(memory.data()) ? 0 : 1);
              }),
              0);
}

TEST(HugePageBlock, ChildProcessMayFreeWhatItInherited) {
    auto const memory = Allocate(slotSize);
    EXPECT_EQ(StatusOfChild([memory] {
                  memory.back() = 1;
                  _exit(FreeHugePageBlock(memory.data()) ? 0 : 1);
              }),
              0);
    EXPECT_EQ(memory.back(), 0);
    EXPECT_TRUE(FreeHugePageBlock(memory.data()));
}

pid_t handlerThread = 0;

// The thread that makes memory present never runs a handler: whatever a handler does, it does in a
// thread of the program.
TEST(HugePageBlock, SignalsAreHandledByTheProgramsOwnThreads) {
    struct sigaction action {};
    action.sa_handler = [](int) { handlerThread = gettid(); };
    struct sigaction former {};
    sigaction(SIGUSR1, &action, &former);
    for (int i = 0; i < 20; ++i) {
        handlerThread = 0;
        auto const memory = Allocate(slotSize);
        kill(getpid(), SIGUSR1); // delivered before it returns, when this thread can take it
        EXPECT_EQ(handlerThread, gettid());
        EXPECT_TRUE(FreeHugePageBlock(memory.data()));
    }
    sigaction(SIGUSR1, &former, nullptr);
}

} // namespace
