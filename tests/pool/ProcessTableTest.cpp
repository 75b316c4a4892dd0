// The process table: its layout byte for byte, and who gets a record.
#include "pool/ProcessTable.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cstring>

#include "StreamFileAccess.h"
#include "pool/SeamSession.h"
#include "support/ChildProcess.h"
#include "support/FailureOf.h"
#include "support/Files.h"
#include "support/TestRoot.h"

namespace workstation::pool {
namespace {

constexpr std::size_t headerSize = 28;
constexpr std::size_t recordSize = 772;
constexpr std::size_t tableSize = headerSize + 128 * recordSize;

// A table as it should be, put together word by word.
class ExpectedTable {
public:
    ExpectedTable() {
        std::uint32_t const header[] = {0x53505442, 1, 28, 128, 772, 64, 12};
        for (std::size_t i = 0; i < std::size(header); ++i) {
            Word(i * 4, header[i]);
        }
    }

    ExpectedTable& Process(std::size_t record, int pid) {
        return Word(headerSize + record * recordSize, static_cast<std::uint32_t>(pid));
    }

    ExpectedTable& Thread(std::size_t record, std::size_t slot, std::uint32_t marker, int handle,
                          int file) {
        std::size_t const at = headerSize + record * recordSize + 4 + slot * 12;
        Word(at, marker);
        Word(at + 4, static_cast<std::uint32_t>(handle));
        return Word(at + 8, static_cast<std::uint32_t>(file));
    }

    ExpectedTable& Word(std::size_t at, std::uint32_t value) {
        std::memcpy(bytes_.data() + at, &value, sizeof(value));
        return *this;
    }

    std::string const& Bytes() const { return bytes_; }

    // Stands in for the table that is there.
    void WriteTo(TestRoot const& root) const {
        std::filesystem::create_directory(root.Path() + "/shm");
        std::ofstream(root.ProcessTable(), std::ios::binary) << bytes_;
    }

private:
    std::string bytes_ = std::string(tableSize, '\0');
};

std::uint32_t Reading(int pid) {
    return static_cast<std::uint32_t>(pid) * 4 + 1;
}

std::uint32_t Writing(int pid) {
    return static_cast<std::uint32_t>(pid) * 4 + 2;
}

class ProcessTableTest : public testing::Test {
protected:
    ProcessTableTest() { root_.MakePool(3); }

    void Initialize() { ASSERT_TRUE(pool_.InitializeFileAccess(false, true)); }

    std::string Table() const { return BytesOf(root_.ProcessTable()); }

    // The process id in each record that is not 0.
    std::vector<int> Processes() const {
        std::string const bytes = Table();
        std::vector<int> pids;
        for (std::size_t i = 0; i < 128; ++i) {
            std::int32_t pid = 0;
            std::memcpy(&pid, bytes.data() + headerSize + i * recordSize, sizeof(pid));
            if (pid != 0) {
                pids.push_back(pid);
            }
        }
        return pids;
    }

    TestRoot root_;
    StreamFileAccess pool_;
    int const self_ = getpid();
};

TEST_F(ProcessTableTest, LayoutIsKeptByteForByte) {
    Initialize();
    EXPECT_EQ(Table(), ExpectedTable().Process(0, self_).Bytes());
    {
        StreamFileAccess const reader(3, 0);
        StreamFileAccess const writer(2, false, StreamMgrFileMgmnt::ControlStream1);
        EXPECT_EQ(Table(), ExpectedTable()
                               .Process(0, self_)
                               .Thread(0, 0, Reading(self_), gettid(), 3)
                               .Thread(0, 1, Writing(self_), gettid(), 2)
                               .Bytes());
    }
    // What a free slot held before stays in it; its marker says that it is free.
    EXPECT_EQ(Table(), ExpectedTable()
                           .Process(0, self_)
                           .Thread(0, 0, 0, gettid(), 3)
                           .Thread(0, 1, 0, gettid(), 2)
                           .Bytes());
    pool_.Unload();
    EXPECT_EQ(Processes(), std::vector<int>{});
}

TEST_F(ProcessTableTest, UnloadFreesTheSlotsOfOpenStreams) {
    Initialize();
    StreamFileAccess const reader(3, 0);
    pool_.Unload();
    EXPECT_EQ(Table(), ExpectedTable().Thread(0, 0, 0, gettid(), 3).Bytes());
}

TEST_F(ProcessTableTest, StreamClosedAfterUnloadLeavesTheNextOwnerAlone) {
    Initialize();
    auto reader = std::make_unique<StreamFileAccess>(3, 0);
    pool_.Unload();
    int const other = getppid();
    auto const taken = ExpectedTable().Process(0, other).Thread(0, 0, Reading(other), 1, 1);
    WriteBytes(root_.ProcessTable(), taken.Bytes(), 0);
    reader.reset();
    EXPECT_EQ(Table(), taken.Bytes());
}

TEST_F(ProcessTableTest, ListingMapsTheTableAsItLies) {
    Initialize();
    StreamFileAccess const reader(3, 0);
    StreamMgrFileMgmnt listing;
    EXPECT_EQ(listing.ProcessTable(), nullptr);
    ASSERT_TRUE(listing.Initialize(0, false, false));
    ASSERT_TRUE(listing.Initialize(0, false, false));
    ASSERT_NE(listing.ProcessTable(), nullptr);
    EXPECT_EQ(std::memcmp(listing.ProcessTable(), Table().data(), tableSize), 0);
    pool_.Unload();
    EXPECT_EQ(std::memcmp(listing.ProcessTable(), Table().data(), tableSize), 0);
}

TEST_F(ProcessTableTest, ListingWithoutATableFails) {
    StreamMgrFileMgmnt listing;
    EXPECT_FALSE(listing.Initialize(0, false, false));
    EXPECT_EQ(listing.ProcessTable(), nullptr);
    EXPECT_FALSE(std::filesystem::exists(root_.ProcessTable()));
}

TEST_F(ProcessTableTest, ListingOffersNothingElse) {
    Initialize();
    StreamMgrFileMgmnt listing;
    EXPECT_FALSE(listing.Initialize(1, false, false));
    EXPECT_FALSE(listing.Initialize(0, true, false));
    EXPECT_FALSE(listing.Initialize(0, false, true));
}

TEST_F(ProcessTableTest, TableOfZerosIsAnEmptyOne) {
    std::filesystem::create_directory(root_.Path() + "/shm");
    std::ofstream(root_.ProcessTable(), std::ios::binary) << std::string(tableSize, '\0');
    EXPECT_TRUE(StreamMgrFileMgmnt().Initialize(0, false, false));
    Initialize();
    EXPECT_EQ(Table(), ExpectedTable().Process(0, self_).Bytes());
}

TEST_F(ProcessTableTest, DamagedTableIsLeftAloneAndStopsNoProcess) {
    std::vector<std::string> damaged;
    for (std::size_t at = 0; at < headerSize; at += 4) {
        damaged.push_back(ExpectedTable().Word(at, 0x42545053).Bytes());
        if (at > 0) {
            damaged.push_back(ExpectedTable().Word(at, 0).Bytes());
            damaged.push_back(ExpectedTable().Word(0, 0).Word(at, 99).Bytes());
        }
    }
    damaged.push_back(std::string(1, '\0'));
    damaged.push_back(ExpectedTable().Bytes().substr(1));
    damaged.push_back(ExpectedTable().Bytes() + '\0');
    for (auto const& bytes : damaged) {
        std::filesystem::create_directory(root_.Path() + "/shm");
        std::ofstream(root_.ProcessTable(), std::ios::binary) << bytes;
        TestRoot const elsewhere; // makes the next Initialize open everything again
        elsewhere.MakePool(1);
        Initialize();
        root_.Use();
        Initialize();
        EXPECT_TRUE(StreamFileAccess(1, 0).IsOpen());
        EXPECT_FALSE(StreamMgrFileMgmnt().Initialize(0, false, false));
        EXPECT_EQ(Table(), bytes);
        EXPECT_EQ(SeamSession().Reap(), 0U);
        pool_.Unload();
    }
}

TEST_F(ProcessTableTest, TableAndItsDirectoryAreForTheOwnerOnly) {
    mode_t const former = umask(0);
    Initialize();
    umask(former);
    struct stat status {};
    ASSERT_EQ(stat(root_.ProcessTable().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    ASSERT_EQ(stat((root_.Path() + "/shm").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(ProcessTableTest, FileThatIsNoTableIsAFailureThatSaysWhy) {
    std::filesystem::create_directory(root_.Path() + "/shm");
    std::string const path = root_.ProcessTable();
    auto const map = [&] { ProcessTable::MapReadOnly(path); };
    EXPECT_EQ(FailureOf(map),
              "cannot open the process table '" + path + "': No such file or directory");
    EXPECT_EQ(ErrorOf(map), ENOENT);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    auto const open = [&] { ProcessTable::Open(path); };
    EXPECT_EQ(ErrorOf(open), EINVAL) << "it cannot be extended";
    std::filesystem::remove(path);
    std::ofstream(path) << "nonsense";
    EXPECT_EQ(FailureOf(open), "process table '" + path + "': 8 bytes, not 98844");
    EXPECT_EQ(ErrorOf(open), EUCLEAN);
    std::ofstream(path) << std::string(98844, 'x');
    EXPECT_EQ(FailureOf(map), "process table '" + path + "': the header is not of this version");
    EXPECT_EQ(ErrorOf(map), EUCLEAN);
}

// The system refuses a signal to such a process, which does not mean that it is gone.
TEST_F(ProcessTableTest, ProcessOfAnotherUserIsNotReaped) {
    ExpectedTable().Process(3, getpid()).WriteTo(root_);
    ChildProcess other([] {
        PoolSession session;
        session.Load(false);
        constexpr uid_t nobody = 65534;
        if (getuid() == 0 && setuid(nobody) != 0) {
            return 99;
        }
        return static_cast<int>(session.Reap());
    });
    EXPECT_EQ(other.Wait(), 0);
    EXPECT_EQ(Processes(), std::vector<int>{self_});
}

TEST_F(ProcessTableTest, UnloadResetsNoControllerForASlotOfAnotherProcess) {
    Initialize();
    auto const image = PoolImage::Open(root_.Pool());
    for (int number = 1; number <= 2; ++number) {
        image->Set(number, EntryWord::controller, 5);
    }
    ExpectedTable()
        .Process(0, self_)
        .Thread(0, 0, Writing(getppid()), 1, 1)
        .Thread(0, 1, Writing(self_), 1, 2)
        .WriteTo(root_);
    pool_.Unload();
    EXPECT_EQ(image->Get(1, EntryWord::controller), 5U);
    EXPECT_EQ(image->Get(2, EntryWord::controller), 0U);
}

TEST_F(ProcessTableTest, TableThatCannotBeMadeStopsNoProcess) {
    std::ofstream(root_.Path() + "/shm") << "in the way";
    Initialize();
    EXPECT_TRUE(StreamFileAccess(1, 0).IsOpen());
    EXPECT_FALSE(StreamMgrFileMgmnt().Initialize(0, false, false));
}

TEST_F(ProcessTableTest, FullTableLeavesTheProcessUnlisted) {
    ExpectedTable full;
    for (std::size_t i = 0; i < 128; ++i) {
        full.Process(i, getppid());
    }
    full.WriteTo(root_);
    Initialize();
    StreamFileAccess writer(1, false, StreamMgrFileMgmnt::ControlStream1);
    EXPECT_TRUE(writer.IsOpen());
    EXPECT_EQ(writer.Truncate(5), 0);
    EXPECT_EQ(Table(), full.Bytes());
    pool_.Unload();
    EXPECT_EQ(Table(), full.Bytes());
}

TEST_F(ProcessTableTest, SlotLeftInAFreeRecordIsFreedWithIt) {
    ExpectedTable().Thread(0, 7, Writing(getppid()), 5, 1).WriteTo(root_);
    Initialize();
    EXPECT_EQ(Table(), ExpectedTable().Process(0, self_).Thread(0, 7, 0, 5, 1).Bytes());
}

TEST_F(ProcessTableTest, LastFreeRecordIsTaken) {
    ExpectedTable almostFull;
    for (std::size_t i = 0; i < 127; ++i) {
        almostFull.Process(i, getppid());
    }
    almostFull.WriteTo(root_);
    Initialize();
    EXPECT_EQ(Table(), almostFull.Process(127, self_).Bytes());
}

TEST_F(ProcessTableTest, FullSlotsLeaveTheThreadUnlisted) {
    Initialize();
    ExpectedTable expected;
    expected.Process(0, self_);
    std::vector<std::unique_ptr<StreamFileAccess>> files;
    for (std::size_t i = 0; i < 64; ++i) {
        files.push_back(std::make_unique<StreamFileAccess>(1, 0));
        expected.Thread(0, i, Reading(self_), gettid(), 1);
    }
    StreamFileAccess surplus(2, 0);
    EXPECT_TRUE(surplus.IsOpen());
    EXPECT_EQ(Table(), expected.Bytes());
    files[10].reset();
    StreamFileAccess const next(3, 0);
    EXPECT_EQ(Table(), expected.Thread(0, 10, Reading(self_), gettid(), 3).Bytes());
}

TEST_F(ProcessTableTest, RecordsOfTheDeadGoWhenAProcessRegisters) {
    int const dead = IdOfDeadProcess();
    ExpectedTable()
        .Process(0, dead)
        .Thread(0, 5, Reading(dead), dead, 2)
        .Process(1, getppid())
        .Process(7, dead)
        .WriteTo(root_);
    Initialize();
    EXPECT_EQ(
        Table(),
        ExpectedTable().Process(0, self_).Thread(0, 5, 0, dead, 2).Process(1, getppid()).Bytes());
}

TEST_F(ProcessTableTest, WriterThatDiedIsPutRightWhateverItsSlotSays) {
    int const dead = IdOfDeadProcess();
    auto const image = PoolImage::Open(root_.Pool());
    for (int number = 1; number <= 3; ++number) {
        image->Set(number, EntryWord::controller, 5);
    }
    ExpectedTable()
        .Process(0, dead)
        .Thread(0, 0, Writing(dead), dead, 2)
        .Thread(0, 1, Reading(dead), dead, 1)
        .Thread(0, 2, Writing(dead), dead, 4) // the pool has no such files
        .Thread(0, 3, Writing(dead), dead, -1)
        .Thread(0, 4, Writing(dead), dead, 0)
        .WriteTo(root_);
    Initialize();
    EXPECT_EQ(image->Get(1, EntryWord::controller), 5U);
    EXPECT_EQ(image->Get(2, EntryWord::controller), 0U);
    EXPECT_EQ(image->Get(3, EntryWord::controller), 5U);
    EXPECT_EQ(Processes(), std::vector<int>{self_});
}

TEST_F(ProcessTableTest, WhatADeadReaperBeganIsFinished) {
    int const dead = IdOfDeadProcess();
    auto const image = PoolImage::Open(root_.Pool());
    image->Set(2, EntryWord::controller, 5);
    ExpectedTable().Process(3, -dead).Thread(3, 0, Writing(dead), dead, 2).WriteTo(root_);
    Initialize();
    EXPECT_EQ(image->Get(2, EntryWord::controller), 0U);
    EXPECT_EQ(Table(), ExpectedTable().Process(0, self_).Thread(3, 0, 0, dead, 2).Bytes());
}

TEST_F(ProcessTableTest, RecordThatALiveProcessIsClearingIsLeftToIt) {
    auto const table = ExpectedTable().Process(0, -getppid()).Thread(0, 0, 77, 1, 1);
    table.WriteTo(root_);
    Initialize();
    EXPECT_EQ(Table(), ExpectedTable(table).Process(1, self_).Bytes());
    EXPECT_EQ(SeamSession().Reap(), 0U);
}

TEST_F(ProcessTableTest, DeadNamesakeLeavesNothing) {
    ExpectedTable()
        .Process(0, self_)
        .Thread(0, 63, Reading(self_), 5, 1)
        .Process(1, -self_)
        .Thread(1, 0, Reading(self_), 5, 1)
        .Process(9, self_)
        .WriteTo(root_);
    Initialize();
    EXPECT_EQ(
        Table(),
        ExpectedTable().Process(0, self_).Thread(0, 63, 0, 5, 1).Thread(1, 0, 0, 5, 1).Bytes());
}

TEST_F(ProcessTableTest, NonsenseProcessIdsAreCleared) {
    constexpr int lowest = std::numeric_limits<int>::min();
    ExpectedTable().Process(0, lowest).Process(1, lowest + 1).Process(2, 0x7FFFFFFF).WriteTo(root_);
    Initialize();
    EXPECT_EQ(Processes(), std::vector<int>{self_});
}

TEST_F(ProcessTableTest, ForkedChildHasARecordOfItsOwn) {
    Initialize();
    ChildProcess child([](auto const& parent) {
        StreamFileAccess pool;
        pool.InitializeFileAccess(false, true);
        StreamFileAccess const file(2, 0);
        parent.Tell();
        parent.Await();
        pool.Unload();
        return 0;
    });
    ASSERT_TRUE(child.Await());
    EXPECT_EQ(Table(), ExpectedTable()
                           .Process(0, self_)
                           .Process(1, child.Pid())
                           .Thread(1, 0, Reading(child.Pid()), child.Pid(), 2)
                           .Bytes());
    child.Tell();
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(Processes(), std::vector<int>{self_});
}

TEST_F(ProcessTableTest, KilledReaderIsReaped) {
    Initialize();
    ChildProcess child([](auto const& parent) {
        StreamFileAccess().InitializeFileAccess(false, true);
        StreamFileAccess const file(2, 0);
        parent.Tell();
        parent.Await();
        return 0;
    });
    ASSERT_TRUE(child.Await());
    EXPECT_EQ(Processes(), (std::vector<int>{self_, child.Pid()}));
    child.Kill();
    EXPECT_EQ(Processes().size(), 2U);
    EXPECT_EQ(SeamSession().Reap(), 1U);
    EXPECT_EQ(Processes(), std::vector<int>{self_});
}

TEST_F(ProcessTableTest, ProcessesThatMakeTheTableTogetherAllGetARecord) {
    for (int round = 0; round < 10; ++round) {
        std::filesystem::remove_all(root_.Path() + "/shm");
        std::vector<std::unique_ptr<ChildProcess>> children;
        for (int i = 0; i < 16; ++i) {
            children.push_back(std::make_unique<ChildProcess>([](auto const& parent) {
                parent.Await();
                bool const done = StreamFileAccess().InitializeFileAccess(false, true);
                parent.Tell();
                parent.Await();
                return done ? 0 : 1;
            }));
        }
        for (auto const& child : children) {
            child->Tell();
        }
        for (auto const& child : children) {
            ASSERT_TRUE(child->Await());
        }
        EXPECT_EQ(Processes().size(), 16U);
        for (auto const& child : children) {
            child->Tell();
            EXPECT_EQ(child->Wait(), 0);
        }
    }
}

} // namespace
} // namespace workstation::pool
