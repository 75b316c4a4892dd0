// Copies of the database.
#include "store/DatabaseBackup.h"
#include "Failure.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "StoreInvariants.h"
#include "StoreTest.h"
#include "support/ChildProcess.h"
#include "support/FailureOf.h"

namespace workstation::store {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class DatabaseBackupTest : public StoreTest {
protected:
    DatabaseBackupTest() { std::filesystem::create_directory(directory_); }

    static std::string Content(std::filesystem::path const& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static void Write(std::filesystem::path const& path, std::string const& content) {
        std::ofstream(path, std::ios::binary) << content;
    }

    std::vector<std::string> FilesBesideTheCopy() const {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(directory_)) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    std::string Refusal(std::string const& path) {
        return FailureOf([&] { store_.Backup(path); });
    }

    std::filesystem::path const directory_ = root_.Path() / "backups";
    std::filesystem::path const copy_ = directory_ / "copy.db";
};

TEST_F(DatabaseBackupTest, CopyHasTheSameContent) {
    Record(1, 1, 100, 200);
    Begin(2, 2, 200);
    store_.RecordAfterTheFact(100, 150, allStreams, 200);
    store_.ReserveTicks(1, 500);
    store_.Backup(copy_);
    ExpectConsistent(copy_);
    EventStore copy(copy_);
    EXPECT_EQ(copy.FilesInUse(), store_.FilesInUse());
    EXPECT_EQ(copy.Events(), store_.Events());
    EXPECT_EQ(copy.ReserveTicks(1, 1), 500U);
}

TEST_F(DatabaseBackupTest, CopyIsOneFileThatNeedsNothingBesideIt) {
    Record(1, 1, 100, 200);
    store_.Backup(copy_);
    EXPECT_THAT(FilesBesideTheCopy(), ElementsAre("copy.db"));
    EXPECT_EQ(Content(copy_).substr(18, 2), "\x01\x01"); // no write-ahead log
    ExpectConsistent(copy_);
    EXPECT_THAT(FilesBesideTheCopy(), ElementsAre("copy.db"));
}

TEST_F(DatabaseBackupTest, ExistingFileIsReplaced) {
    Write(copy_, std::string(1000000, 'x'));
    Record(1, 1, 100, 200);
    store_.Backup(copy_);
    Record(1, 2, 200, 300);
    store_.Backup(copy_);
    ExpectConsistent(copy_);
    EXPECT_EQ(EventStore(copy_).FilesInUse().size(), 2U);
    EXPECT_THAT(FilesBesideTheCopy(), ElementsAre("copy.db"));
}

TEST_F(DatabaseBackupTest, StoreGoesOnAfterwards) {
    store_.Backup(copy_);
    RecordedFile const file = Record(1, 1, 100, 200);
    EXPECT_THAT(store_.FilesInUse(), ElementsAre(file));
}

TEST_F(DatabaseBackupTest, PathsThatAreNoneAreRefused) {
    EXPECT_EQ(Refusal(""), "backup '': not a path");
    EXPECT_EQ(Refusal(std::string(copy_) + '\0' + "x"),
              "backup '" + std::string(copy_) + "': not a path");
    EXPECT_THAT(FilesBesideTheCopy(), ElementsAre());
}

TEST_F(DatabaseBackupTest, PathsThatCannotBeMadeAreRefused) {
    EXPECT_EQ(Refusal(directory_ / "none" / "copy.db"),
              "backup '" + std::string(directory_ / "none" / "copy.db") +
                  "': No such file or directory");
    EXPECT_THAT(Refusal(std::string(copy_) + "/"), HasSubstr("No such file or directory"));
    EXPECT_THAT(Refusal(Path() + "/copy.db"), HasSubstr("Not a directory"));
    EXPECT_THAT(Refusal(directory_ / std::string(300, 'x')), HasSubstr("File name too long"));
    EXPECT_THAT(FilesBesideTheCopy(), ElementsAre());
}

TEST_F(DatabaseBackupTest, WhatIsNoRegularFileIsRefused) {
    auto const pipe = directory_ / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    auto const link = directory_ / "link";
    std::filesystem::create_symlink(Path(), link);
    for (std::string const path : {directory_, pipe, link, std::filesystem::path("/dev/null")}) {
        EXPECT_EQ(Refusal(path), "backup '" + path + "': not a regular file");
    }
    EXPECT_THAT(FilesBesideTheCopy(), UnorderedElementsAre("pipe", "link"));
}

TEST_F(DatabaseBackupTest, DatabaseItselfIsRefused) {
    RecordedFile const file = Record(1, 1, 100, 200);
    auto const link = directory_ / "link.db";
    std::filesystem::create_hard_link(Path(), link);
    for (std::string const& path : {Path(), Path() + "-wal", Path() + "-shm", link.string(),
                                    std::string(directory_ / ".." / "events.db")}) {
        EXPECT_EQ(Refusal(path), "backup '" + path + "': belongs to the database itself");
    }
    EXPECT_THAT(store_.FilesInUse(), ElementsAre(file));
}

TEST_F(DatabaseBackupTest, CopyThatIsInUseIsRefused) {
    store_.Backup(copy_);
    EventStore user(copy_);
    EXPECT_TRUE(user.BeginFile(1, 1, 100, 0));
    EXPECT_EQ(Refusal(copy_), "backup '" + std::string(copy_) + "': in use as a database, '" +
                                  std::string(copy_) + "-wal' exists");
    Write(directory_ / "other.db-journal", "x");
    EXPECT_THAT(Refusal(directory_ / "other.db"), HasSubstr("other.db-journal' exists"));
}

TEST_F(DatabaseBackupTest, FileThatMayNotBeWrittenIsRefused) {
    Write(copy_, "old");
    chmod(copy_.c_str(), 0444);
    chmod(directory_.c_str(), 0777);
    chmod(root_.Path().c_str(), 0755);
    std::string const source = Path();
    ChildProcess other([&] {
        if (getuid() == 0 && setuid(65534) != 0) { // root may write everything
            return 2;
        }
        return FailureOf([&] { BackUpDatabase(source, copy_); }) ==
                       "backup '" + std::string(copy_) + "': Permission denied"
                   ? 0
                   : 1;
    });
    EXPECT_EQ(other.Wait(), 0);
    EXPECT_EQ(Content(copy_), "old");
}

TEST_F(DatabaseBackupTest, MissingDatabaseLeavesTheOldFile) {
    Write(copy_, "old");
    EXPECT_THROW(BackUpDatabase(root_.Path() / "none.db", copy_), Failure);
    EXPECT_EQ(Content(copy_), "old");
    EXPECT_THAT(FilesBesideTheCopy(), ElementsAre("copy.db"));
}

TEST_F(DatabaseBackupTest, DamagedDatabaseLeavesTheOldFile) {
    auto const damaged = root_.Path() / "damaged.db";
    Write(damaged, std::string(10000, 'x'));
    Write(copy_, "old");
    EXPECT_THROW(BackUpDatabase(damaged, copy_), Failure);
    EXPECT_EQ(Content(copy_), "old");
    EXPECT_THAT(FilesBesideTheCopy(), ElementsAre("copy.db"));
}

TEST_F(DatabaseBackupTest, CopiesThatADeadProcessLeftAreRemovedAndNothingElse) {
    std::string const left = "copy.db.StreamMgr-backup-";
    Write(directory_ / (left + "abcdef"), "left");
    Write(directory_ / (left + "abcdef-journal"), "left");
    Write(directory_ / (left + "123456"), "");
    std::filesystem::create_directory(directory_ / (left + "folder"));
    std::filesystem::create_symlink(Path(), directory_ / (left + "a-link"));
    for (std::string const& other :
         {std::string("copy.db.backup"), std::string("other.db.StreamMgr-backup-abcdef"),
          left + "abcdefg", left}) {
        Write(directory_ / other, "kept");
    }
    store_.Backup(copy_);
    EXPECT_THAT(FilesBesideTheCopy(),
                UnorderedElementsAre("copy.db", "copy.db.backup",
                                     "other.db.StreamMgr-backup-abcdef", left + "abcdefg", left,
                                     left + "folder", left + "a-link"));
}

TEST_F(DatabaseBackupTest, CopyThatAnotherProcessIsMakingIsLeftAlone) {
    ::Event locked;
    auto const others = directory_ / "copy.db.StreamMgr-backup-abcdef";
    Write(others, "");
    ChildProcess other([&] {
        FileDescriptor const file(open(others.c_str(), O_RDWR));
        flock(file.Get(), LOCK_EX);
        locked.Signal();
        return pause();
    });
    ASSERT_TRUE(locked.Wait());
    store_.Backup(copy_);
    EXPECT_TRUE(std::filesystem::exists(others));
    other.Kill();
    store_.Backup(copy_);
    EXPECT_FALSE(std::filesystem::exists(others));
}

TEST_F(DatabaseBackupTest, EachCopyIsOfOneMomentWhileOthersWrite) {
    std::atomic<bool> isDone = false;
    std::jthread const recorder([&] {
        for (int round = 0; !isDone; ++round) {
            store_.BeginFile(1, 1 + round % 30, round, 0); // unless an event holds the file
        }
    });
    std::jthread const owner([&] {
        while (!isDone) {
            if (auto const event = store_.RecordAfterTheFact(0, 1 << 30, allStreams, 0)) {
                EXPECT_TRUE(store_.SplitEvent(event->reid, 4));
            }
            for (Event const& event : store_.Events()) {
                EXPECT_TRUE(store_.DeleteEvent(event.reid));
            }
        }
    });
    for (int i = 0; i < 20; ++i) {
        store_.Backup(copy_);
        ExpectConsistent(copy_);
    }
    isDone = true;
}

} // namespace
} // namespace workstation::store
