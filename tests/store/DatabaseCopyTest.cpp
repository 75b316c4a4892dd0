// Databases that are only looked at.
#include "store/DatabaseCopy.h"

#include <filesystem>
#include <fstream>
#include <stop_token>
#include <thread>

#include "StoreInvariants.h"
#include "StoreTest.h"
#include "support/FailureOf.h"
#include "support/Files.h"
#include "support/ReadOnlyPlaces.h"
#include "support/Snapshot.h"
#include "support/TemporaryDirectory.h"

namespace workstation::store {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::int64_t FileCount(Database const& database) {
    return QueryFirst(database, ReadFirstNumber, "SELECT count(*) FROM file").value_or(-1);
}

// The store is open, as beside a running service. Copies are made in a directory of the test's own.
class DatabaseCopyTest : public StoreTest {
protected:
    DatabaseCopyTest() {
        setenv("TMPDIR", temporary_.Path().c_str(), 1);
        Record(1, 1, 100, 200);
        Record(1, 2, 200, 300);
    }
    ~DatabaseCopyTest() override { unsetenv("TMPDIR"); }

    std::string Elsewhere() const {
        std::filesystem::create_directory(root_.Path() / "elsewhere");
        return root_.Path() / "elsewhere" / "events.db";
    }

    TemporaryDirectory temporary_;
};

TEST_F(DatabaseCopyTest, LogOfARunningServiceIsRead) {
    ASSERT_GT(std::filesystem::file_size(Path() + "-wal"), 0U);
    EXPECT_EQ(FileCount(OpenCopy(Path())), 2);
    Record(1, 3, 300, 400);
    EXPECT_EQ(FileCount(OpenCopy(Path())), 3);
}

TEST_F(DatabaseCopyTest, LogOfAKilledServiceIsRead) {
    std::filesystem::copy_file(Path(), Elsewhere());
    std::filesystem::copy_file(Path() + "-wal", Elsewhere() + "-wal");
    auto const before = Snapshot(root_.Path());
    EXPECT_EQ(FileCount(OpenCopy(Elsewhere())), 2);
    EXPECT_EQ(Snapshot(root_.Path()), before);
}

TEST_F(DatabaseCopyTest, BackupIsRead) {
    store_.Backup(Elsewhere());
    auto const before = Snapshot(root_.Path());
    EXPECT_EQ(FileCount(OpenCopy(Elsewhere())), 2);
    EXPECT_EQ(Snapshot(root_.Path()), before);
}

TEST_F(DatabaseCopyTest, LogIsFoundThroughASymbolicLink) {
    std::filesystem::create_symlink(Path(), Elsewhere());
    EXPECT_EQ(FileCount(OpenCopy(Elsewhere())), 2);
}

TEST_F(DatabaseCopyTest, EmptyFileIsAnEmptyDatabase) {
    std::ofstream const file(Elsewhere());
    auto const database = OpenCopy(Elsewhere());
    EXPECT_EQ(QueryFirst(database, ReadFirstNumber, "SELECT count(*) FROM sqlite_schema"), 0);
}

TEST_F(DatabaseCopyTest, NothingIsChangedAndNothingIsLeft) {
    auto const before = Snapshot(root_.Path());
    std::string const content = BytesOf(Path());
    std::string const log = BytesOf(Path() + "-wal");
    std::string const index = BytesOf(Path() + "-shm");
    {
        auto const database = OpenCopy(Path());
        EXPECT_TRUE(std::filesystem::is_empty(temporary_.Path()));
        EXPECT_EQ(FileCount(database), 2);
    }
    EXPECT_TRUE(std::filesystem::is_empty(temporary_.Path()));
    EXPECT_EQ(Snapshot(root_.Path()), before);
    EXPECT_EQ(BytesOf(Path()), content);
    EXPECT_EQ(BytesOf(Path() + "-wal"), log);
    EXPECT_EQ(BytesOf(Path() + "-shm"), index);
}

TEST_F(DatabaseCopyTest, ReadOnlyMountIsRead) {
    int const status = RunOnReadOnlyMount(root_.Path(), [&] {
        bool const isReadOnly = !std::ofstream(root_.Path() / "new");
        return isReadOnly && FileCount(OpenCopy(Path())) == 2 ? 0 : 1;
    });
    if (status == cannotMount) {
        GTEST_SKIP() << "nothing may be mounted here";
    }
    EXPECT_EQ(status, 0);
}

TEST_F(DatabaseCopyTest, ImmutableFilesAreRead) {
    ImmutableFile const database(Path());
    ImmutableFile const log(Path() + "-wal");
    if (!database.IsSet() || !log.IsSet()) {
        GTEST_SKIP() << "no file can be made immutable here";
    }
    EXPECT_EQ(FileCount(OpenCopy(Path())), 2);
}

// Whatever is written meanwhile, a copy is the state at one moment: the log is begun again often.
TEST_F(DatabaseCopyTest, CopyBesideAWriterIsConsistent) {
    for (int number = 3; number <= 300; ++number) {
        Record(2, number, 100, 200);
    }
    Database database(Path(), Database::Mode::existing);
    Execute(database, "UPDATE file SET start_time = 100, stop_time = 100");
    std::jthread const writer([&](std::stop_token const& stop) {
        database.Execute("PRAGMA wal_autocheckpoint = 400");
        for (std::int64_t time = 1000; !stop.stop_requested(); ++time) {
            Execute(database, "UPDATE file SET start_time = ?1, stop_time = ?1", time);
        }
    });
    for (int i = 0; i < 100; ++i) {
        auto const copy = OpenCopy(Path());
        ExpectConsistent(copy);
        auto const times =
            QueryFirst(copy, ReadFirstNumber, "SELECT count(DISTINCT start_time) FROM file");
        EXPECT_EQ(times, 1);
    }
}

TEST_F(DatabaseCopyTest, WhatIsNoDatabaseIsRefused) {
    auto const refusal = [](std::string const& path) { return FailureOf([&] { OpenCopy(path); }); };
    EXPECT_EQ(refusal("/missing"), "database '/missing': No such file or directory");
    EXPECT_EQ(refusal(root_.Path()), "cannot read '" + root_.Path().string() + "': Is a directory");
    std::ofstream(Elsewhere()) << "text";
    EXPECT_EQ(refusal(Elsewhere()), "database '" + Elsewhere() + "': not a database");
    std::ofstream(Elsewhere()) << "SQLite format 3" << std::string(4081, '\0');
    EXPECT_THAT(refusal(Elsewhere()),
                StartsWith("database '" + Elsewhere() + "': file is not a database"));
    store_.Backup(Elsewhere());
    std::ofstream(Elsewhere() + "-journal") << "begun";
    EXPECT_THAT(refusal(Elsewhere()), HasSubstr("an unfinished change is beside it"));
    EXPECT_TRUE(std::filesystem::is_empty(temporary_.Path()));
}

TEST_F(DatabaseCopyTest, DirectoryForTemporaryFilesMustBeThere) {
    setenv("TMPDIR", "/missing", 1);
    EXPECT_THAT(FailureOf([&] { OpenCopy(Path()); }),
                StartsWith("no directory for temporary files: "));
}

} // namespace
} // namespace workstation::store
