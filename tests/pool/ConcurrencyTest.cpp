// Many threads and processes at once.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "StreamFileAccess.h"
#include "pool/TestRoot.h"
#include "support/ChildProcess.h"

#ifdef __has_feature
#define STREAMMGR_HAS_FEATURE(feature) __has_feature(feature)
#else
#define STREAMMGR_HAS_FEATURE(feature) 0
#endif

namespace workstation {
namespace {

#if defined(__SANITIZE_ADDRESS__) || STREAMMGR_HAS_FEATURE(address_sanitizer)
constexpr bool hasAddressSanitizer = true;
#else
constexpr bool hasAddressSanitizer = false;
#endif

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

    // How many words of the process table behind the header are process ids or markers in use.
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

// Writes a file over and over: its bytes become 'a', 'b', ... in turn, its length one more each
// time.
int WriteOver(int number, int rounds) {
    for (int round = 1; round <= rounds; ++round) {
        StreamFileAccess file(number, false, StreamMgrFileMgmnt::ControlExternalProc);
        std::vector<unsigned char> bytes(length, static_cast<unsigned char>('a' + round % 26));
        if (file.Write(bytes.data(), length) != static_cast<int>(length) ||
            file.Truncate(static_cast<long>(length) + round) != 0) {
            return 1;
        }
    }
    return 0;
}

// Reads the file once; whether every byte is one of those that stood there at some time.
bool ReadsWhatWasWritten(int number) {
    StreamFileAccess file(number, 0);
    std::vector<unsigned char> bytes(length);
    auto const old = Pattern(length);
    if (file.Read(bytes.data(), length, false) != static_cast<int>(length)) {
        return false;
    }
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        bool const isNew = bytes[at] >= 'a' && bytes[at] <= 'z';
        if (!isNew && bytes[at] != old[at]) {
            return false;
        }
    }
    return true;
}

TEST_F(ConcurrencyTest, WritersAmongReadersLoseNoUpdateOfTheTable) {
    constexpr int rounds = 300;
    std::vector<std::unique_ptr<ChildProcess>> writers;
    for (int number = 1; number <= 3; ++number) {
        writers.push_back(std::make_unique<ChildProcess>([number](auto const& parent) {
            StreamFileAccess pool;
            bool const isReached = pool.InitializeFileAccess(false, true);
            parent.Await();
            int const status = isReached ? WriteOver(number, rounds) : 2;
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
            while (!stop) {
                failures += ReadsWhatWasWritten(number) ? 0 : 1;
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
        EXPECT_EQ(info.fileSize, length + rounds) << number;
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
} // namespace workstation
