// Many threads and processes at once.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>

#include "StreamFileAccess.h"
#include "support/ChildProcess.h"
#include "support/Files.h"
#include "support/Sanitizers.h"
#include "support/TestRoot.h"

namespace workstation::pool {
namespace {

constexpr unsigned int length = 50000;

// Initialises, reads one of the three files from end to end and compares it. The count of what
// went wrong.
int ReadOne(int number) {
    StreamFileAccess pool;
    if (!pool.InitializeFileAccess(false, true)) {
        return 1;
    }
    StreamFileAccess file(number, 0);
    std::vector<unsigned char> bytes(length + 1);
    bool const isRight = file.Read(bytes.data(), length + 1, false) == static_cast<int>(length);
    bytes.pop_back();
    return isRight && bytes == Pattern(length) ? 0 : 1;
}

int ReadInThreads(int threadCount) {
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(threadCount));
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&failures, i] { failures += ReadOne(i % 3 + 1); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    return failures;
}

class ConcurrencyTest : public testing::Test {
protected:
    ConcurrencyTest() {
        root_.MakePool(3);
        StreamFileAccess pool;
        EXPECT_TRUE(pool.InitializeFileAccess(false, true));
        auto bytes = Pattern(length);
        for (int number = 1; number <= 3; ++number) {
            StreamFileAccess file(number, false, StreamMgrFileMgmnt::ControlExternalProc);
            EXPECT_EQ(file.Write(bytes.data(), length), static_cast<int>(length));
            EXPECT_EQ(file.Truncate(length), 0);
        }
        pool.Unload();
    }

    // How many words of the process table after the header are process ids or markers in use.
    int UsedWords() const {
        std::string const bytes = BytesOf(root_.ProcessTable());
        int used = 0;
        for (std::size_t record = 28; record + 772 <= bytes.size(); record += 772) {
            used += bytes.substr(record, 4) != std::string(4, '\0');
            for (std::size_t slot = record + 4; slot < record + 772; slot += 12) {
                used += bytes.substr(slot, 4) != std::string(4, '\0');
            }
        }
        return used;
    }

    TestRoot root_;
};

TEST_F(ConcurrencyTest, SixtyFourThreadsInitialiseAndRead) {
    EXPECT_EQ(ReadInThreads(64), 0);
    EXPECT_EQ(UsedWords(), 1) << "one record, no slot";
}

TEST_F(ConcurrencyTest, SixteenProcessesOfSixtyFourThreadsRead) {
    std::vector<std::unique_ptr<ChildProcess>> children;
    children.reserve(16);
    for (int i = 0; i < 16; ++i) {
        children.push_back(std::make_unique<ChildProcess>([](auto const& parent) {
            parent.Await();
            int const failures = ReadInThreads(64);
            StreamFileAccess().Unload();
            return failures;
        }));
    }
    for (auto const& child : children) {
        child->Tell();
    }
    for (auto const& child : children) {
        EXPECT_EQ(child->Wait(), 0);
    }
    EXPECT_EQ(UsedWords(), 0);
}

// The rounds of writing that a file has seen; 0 is what stood there before. It lies in memory that
// this process and the writers share.
struct Rounds {
    std::atomic<unsigned int> begun = 0;
    std::atomic<unsigned int> ended = 0;
};
static_assert(std::atomic<unsigned int>::is_always_lock_free);

class SharedRounds {
public:
    SharedRounds()
        : memory_(mmap(nullptr, sizeof(Files), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                       -1, 0)) {
        if (memory_ == MAP_FAILED) {
            throw std::runtime_error("no shared memory");
        }
        files_ = new (memory_) Files;
    }
    ~SharedRounds() { munmap(memory_, sizeof(Files)); }

    SharedRounds(SharedRounds const&) = delete;
    SharedRounds& operator=(SharedRounds const&) = delete;

    Rounds& Of(int number) const { return files_->at(static_cast<std::size_t>(number - 1)); }

private:
    using Files = std::array<Rounds, 3>;

    void* memory_;
    Files* files_ = nullptr;
};

// The bytes of a round differ from those of every other at every place.
unsigned char ByteOf(unsigned char old, unsigned int round) {
    return static_cast<unsigned char>(old + round);
}
unsigned int RoundOf(unsigned char byte, unsigned char old) {
    return static_cast<unsigned char>(byte - old);
}
constexpr unsigned int mostRounds = 255;

// Writes a file over and over, its length one more each time.
int WriteOver(int number, Rounds& rounds) {
    auto const old = Pattern(length);
    std::vector<unsigned char> bytes(length);
    for (unsigned int round = 1; round <= mostRounds; ++round) {
        std::transform(old.begin(), old.end(), bytes.begin(),
                       [round](unsigned char byte) { return ByteOf(byte, round); });
        StreamFileAccess file(number, false, StreamMgrFileMgmnt::ControlExternalProc);
        rounds.begun = round;
        if (file.Write(bytes.data(), length) != static_cast<int>(length) ||
            file.Truncate(static_cast<long>(length) + round) != 0) {
            return 1;
        }
        rounds.ended = round;
    }
    return 0;
}

// One who reads a file that is being written.
class Reader {
public:
    Reader(int number, Rounds const& rounds)
        : number_(number)
        , rounds_(rounds) {}

    // Reads the file once. Whether every byte is of a round that had begun, not of one before the
    // last that had ended, nor of one before that which was seen there the last time.
    bool ReadsWhatWasWritten() {
        unsigned int const oldest = rounds_.ended;
        StreamFileAccess file(number_, 0);
        std::vector<unsigned char> bytes(length);
        if (file.Read(bytes.data(), length, false) != static_cast<int>(length)) {
            return false;
        }
        unsigned int const newest = rounds_.begun;
        bool isRight = true;
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            unsigned int const round = RoundOf(bytes[at], old_[at]);
            isRight = isRight && round <= newest && round >= std::max(oldest, seen_[at]);
            seen_[at] = round;
        }
        return isRight;
    }

private:
    int number_;
    Rounds const& rounds_;
    std::vector<unsigned char> const old_ = Pattern(length);
    std::vector<unsigned int> seen_ = std::vector<unsigned int>(length);
};

TEST_F(ConcurrencyTest, WritersAmongReadersLoseNoUpdateOfTheTable) {
    SharedRounds const rounds;
    std::vector<std::unique_ptr<ChildProcess>> writers;
    for (int number = 1; number <= 3; ++number) {
        writers.push_back(std::make_unique<ChildProcess>([&rounds, number](auto const& parent) {
            StreamFileAccess pool;
            bool const isReached = pool.InitializeFileAccess(false, true);
            parent.Await();
            int const status = isReached ? WriteOver(number, rounds.Of(number)) : 2;
            parent.Tell();
            pool.Unload();
            return status;
        }));
    }
    StreamFileAccess pool;
    ASSERT_TRUE(pool.InitializeFileAccess(false, true));
    std::atomic<bool> stop = false;
    std::atomic<int> failures = 0;
    std::vector<std::thread> readers;
    for (int i = 0; i < 6; ++i) {
        readers.emplace_back([&, number = i % 3 + 1] {
            Reader reader(number, rounds.Of(number));
            while (!stop) {
                failures += reader.ReadsWhatWasWritten() ? 0 : 1;
            }
        });
    }
    for (auto const& writer : writers) {
        writer->Tell();
    }
    for (auto const& writer : writers) {
        EXPECT_TRUE(writer->Await());
        EXPECT_EQ(writer->Wait(), 0);
    }
    stop = true;
    for (auto& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(failures, 0);
    for (int number = 1; number <= 3; ++number) {
        StreamMgrFileMgmnt::FileMgmnt_t info{};
        ASSERT_TRUE(pool.GetFileInfo(number, info));
        EXPECT_EQ(info.fileSize, length + mostRounds) << number;
        EXPECT_EQ(info.writeController, StreamMgrFileMgmnt::ControlUnknown) << number;
    }
    EXPECT_EQ(UsedWords(), 1) << "this process";
}

TEST_F(ConcurrencyTest, ForksInTheMidstOfInitialisingFindNothingHeld) {
    if (hasAddressSanitizer) {
        GTEST_SKIP() << "the address sanitizer's own allocator may be held over a fork";
    }
    std::atomic<bool> stop = false;
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                failures += ReadOne(1);
                StreamFileAccess().Unload();
            }
        });
    }
    for (int round = 0; round < 50; ++round) {
        ChildProcess child([] {
            int const failed = ReadOne(2);
            StreamFileAccess().Unload();
            return failed;
        });
        EXPECT_EQ(child.Wait(), 0);
    }
    stop = true;
    for (auto& thread : threads) {
        thread.join();
    }
    StreamFileAccess().Unload();
    EXPECT_EQ(UsedWords(), 0);
}

} // namespace
} // namespace workstation::pool
