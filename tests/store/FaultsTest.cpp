// A store whose database is locked, or whose disk is full.
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

#include "Failure.h"
#include "StoreInvariants.h"
#include "StoreTest.h"
#include "support/ChildProcess.h"
#include "support/FailureOf.h"
#include "support/Stopwatch.h"

namespace workstation::store {
namespace {

using testing::AllOf;
using testing::Ge;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Lt;

// The whole patience with the lock, and not much more.
auto IsBounded() {
    return AllOf(Ge(databaseBusyTimeoutMs / 2), Lt(databaseBusyTimeoutMs * 5));
}

using LockedDatabaseTest = StoreTest;

TEST_F(LockedDatabaseTest, WriterGivesUpAndGoesOnWhenTheLockIsGone) {
    RecordedFile const former = Record(1, 1, 100, 200);
    Database other(Path(), Database::Mode::existing);
    other.Execute("BEGIN EXCLUSIVE");
    Stopwatch const stopwatch;
    EXPECT_EQ(FailureOf([&] { store_.BeginFile(1, 1, 300, 0); }),
              "database '" + Path() + "': database is locked [BEGIN IMMEDIATE]");
    EXPECT_THAT(stopwatch.ElapsedMs(), IsBounded());
    other.Execute("ROLLBACK");
    EXPECT_THAT(store_.FilesInUse(), testing::ElementsAre(former));
    EXPECT_TRUE(store_.BeginFile(1, 1, 300, 0));
}

TEST_F(LockedDatabaseTest, ReaderIsNotHeldUpByAWriter) {
    Record(1, 1, 100, 200);
    Database other(Path(), Database::Mode::existing);
    other.Execute("BEGIN EXCLUSIVE; UPDATE file SET size = 7");
    Stopwatch const stopwatch;
    EXPECT_EQ(store_.FilesInUse()[0].size, 1000U);
    EXPECT_LT(stopwatch.ElapsedMs(), databaseBusyTimeoutMs);
}

TEST_F(LockedDatabaseTest, WriterWaitsForALockThatGoesInTime) {
    Database other(Path(), Database::Mode::existing);
    other.Execute("BEGIN EXCLUSIVE");
    ::Event const isWriting;
    std::jthread const writer([&] {
        isWriting.Signal();
        EXPECT_TRUE(store_.BeginFile(1, 1, 300, 0));
    });
    EXPECT_TRUE(isWriting.Wait());
    other.Execute("ROLLBACK");
}

TEST_F(LockedDatabaseTest, WriterThatWaitsGivesUpWhenItIsToWaitBriefly) {
    Database other(Path(), Database::Mode::existing);
    other.Execute("BEGIN EXCLUSIVE");
    Stopwatch const stopwatch;
    {
        ::Event const isWriting;
        std::jthread const writer([&] {
            isWriting.Signal();
            EXPECT_NE(FailureOf([&] { store_.BeginFile(1, 1, 300, 0); }), "");
        });
        EXPECT_TRUE(isWriting.Wait());
        store_.WaitBriefly();
    }
    EXPECT_LT(stopwatch.ElapsedMs(), databaseBusyTimeoutMs);
}

TEST(LockedDatabase, IsNotOpenedAndIsWhenTheLockIsGone) {
    TemporaryRoot const root;
    std::string const path = root.Path() / "events.db";
    EventStore(path).BeginFile(1, 1, 100, 0);
    {
        Database other(path, Database::Mode::existing);
        other.Execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; DELETE FROM file");
        Stopwatch const stopwatch;
        EXPECT_THAT(FailureOf([&] { EventStore const store(path); }),
                    HasSubstr("database is locked"));
        EXPECT_LT(stopwatch.ElapsedMs(), databaseBusyTimeoutMs * 5);
        other.Execute("ROLLBACK");
    }
    EXPECT_EQ(EventStore(path).FilesInUse().size(), 1U);
}

// Cases that change the limits or the file systems of a process run in a child. It ends with 0 when
// no expectation failed.
constexpr int notPermitted = 77;

int EndOfChild() {
    std::cout.flush();
    return testing::Test::HasFailure() ? 1 : 0;
}

// Adds files until the disk is full. The text of the failure.
std::string FillUp(EventStore& store) {
    return FailureOf([&] {
        for (int number = 1; number < 1000000; ++number) {
            store.BeginFile(1, number, number, 0);
        }
    });
}

// On a full disk a store can still be read. It can be written again when there is space.
template <class MakeSpace>
void ExpectToOutliveAFullDisk(std::string const& path, std::string const& expectedError,
                              MakeSpace makeSpace) {
    EventStore store(path);
    unsigned int const firstTick = store.ReserveTicks(1, 100);
    EXPECT_THAT(FillUp(store), HasSubstr(expectedError));
    auto const files = store.FilesInUse();
    EXPECT_FALSE(files.empty());
    EXPECT_THAT(FailureOf([&] {
                    FillUp(store);
                    store.BeginFile(1, 1000001, 1, 0);
                }),
                HasSubstr(expectedError));
    makeSpace();
    EXPECT_GE(store.FilesInUse().size(), files.size());
    EXPECT_TRUE(store.BeginFile(1, 2000000, 1, 0));
    EXPECT_EQ(store.ReserveTicks(1, 100), firstTick + 100);
    ExpectConsistent(path);
}

TEST(FullDisk, StoreKeepsWhatItHasAndGoesOnWhenThereIsSpace) {
    TemporaryRoot const root;
    ChildProcess child([&] {
        uid_t const user = getuid();
        if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", root.Path().c_str(), "tmpfs", 0, "size=1m") != 0) {
            return notPermitted;
        }
        auto const ballast = root.Path() / "ballast";
        std::ofstream(ballast) << std::string(300000, 'x');
        ExpectToOutliveAFullDisk(root.Path() / "events.db", "database or disk is full",
                                 [&] { std::filesystem::remove(ballast); });
        return EndOfChild();
    });
    int const status = child.Wait();
    if (status == notPermitted) {
        GTEST_SKIP() << "no file system of its own may be mounted here";
    }
    EXPECT_EQ(status, 0);
}

void LimitFileSize(rlim_t limit) {
    rlimit limits{};
    getrlimit(RLIMIT_FSIZE, &limits);
    limits.rlim_cur = limit;
    setrlimit(RLIMIT_FSIZE, &limits);
}

TEST(LimitedFileSize, StoreKeepsWhatItHasAndGoesOnWhenThereIsSpace) {
    TemporaryRoot const root;
    ChildProcess child([&] {
        signal(SIGXFSZ, SIG_IGN);
        LimitFileSize(262144);
        ExpectToOutliveAFullDisk(root.Path() / "events.db", "disk I/O error",
                                 [] { LimitFileSize(RLIM_INFINITY); });
        return EndOfChild();
    });
    EXPECT_EQ(child.Wait(), 0);
}

TEST(LimitedFileSize, NoDatabaseIsMadeWithoutSpaceAndOneIsAfterwards) {
    TemporaryRoot const root;
    std::string const path = root.Path() / "events.db";
    ChildProcess child([&] {
        signal(SIGXFSZ, SIG_IGN);
        for (rlim_t limit : {rlim_t{0}, rlim_t{4096}, rlim_t{20000}}) {
            LimitFileSize(limit);
            EXPECT_THAT(FailureOf([&] { EventStore const store(path); }),
                        HasSubstr("database '" + path + "': "));
        }
        LimitFileSize(RLIM_INFINITY);
        EXPECT_THAT(EventStore(path).FilesInUse(), IsEmpty());
        return EndOfChild();
    });
    EXPECT_EQ(child.Wait(), 0);
}

TEST(LimitedFileSize, FailedBackupLeavesTheOldFile) {
    TemporaryRoot const root;
    auto const copy = root.Path() / "copy.db";
    std::ofstream(copy) << "old";
    ChildProcess child([&] {
        EventStore store(root.Path() / "events.db");
        store.BeginFile(1, 1, 100, 0);
        signal(SIGXFSZ, SIG_IGN);
        LimitFileSize(8192);
        EXPECT_THAT(FailureOf([&] { store.Backup(copy); }), HasSubstr("copy.db."));
        LimitFileSize(RLIM_INFINITY);
        return EndOfChild();
    });
    EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(std::filesystem::file_size(copy), 3U);
    for (auto const& entry : std::filesystem::directory_iterator(root.Path())) {
        EXPECT_FALSE(entry.path().filename().string().starts_with("copy.db.")) << entry;
    }
}

} // namespace
} // namespace workstation::store
