// Connections, statements and transactions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <limits>

#include "Failure.h"
#include "store/Database.h"
#include "store/Statement.h"
#include "store/Transaction.h"
#include "support/ChildProcess.h"
#include "support/FailureOf.h"
#include "support/TemporaryRoot.h"

namespace workstation::store {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class DatabaseTest : public testing::Test {
protected:
    std::string Path() const { return root_.Path() / "test.db"; }

    std::string ErrorOfOpening(std::string const& path,
                               Database::Mode mode = Database::Mode::create) {
        return FailureOf([&] { Database(path, mode); });
    }

    std::vector<std::string> Texts(Database const& database) {
        return QueryAll(
            database, [](Statement const& row) { return row.Text(0); },
            "SELECT text FROM note ORDER BY rowid");
    }

    TemporaryRoot root_;
};

class NoteTest : public DatabaseTest {
protected:
    NoteTest() { database_.Execute("CREATE TABLE note (text TEXT) STRICT"); }

    Database database_{Path(), Database::Mode::create};
};

TEST_F(DatabaseTest, MissingFileIsMadeWhenAskedFor) {
    EXPECT_EQ(ErrorOfOpening(Path()), "");
    EXPECT_TRUE(std::filesystem::exists(Path()));
}

TEST_F(DatabaseTest, MissingFileIsRefusedOtherwise) {
    EXPECT_EQ(ErrorOfOpening(Path(), Database::Mode::existing),
              "database '" + Path() +
                  "': unable to open database file (No such file or directory) [opening it]");
    EXPECT_EQ(ErrorOf([&] { Database(Path(), Database::Mode::existing); }), ENOENT);
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

TEST_F(DatabaseTest, DirectoryInItsPlaceIsRefused) {
    std::filesystem::create_directory(Path());
    EXPECT_THAT(ErrorOfOpening(Path()), HasSubstr("unable to open database file"));
    EXPECT_TRUE(std::filesystem::is_directory(Path()));
}

TEST_F(DatabaseTest, MissingDirectoryIsRefused) {
    EXPECT_THAT(ErrorOfOpening(root_.Path() / "none" / "test.db"),
                HasSubstr("No such file or directory"));
}

TEST_F(DatabaseTest, FileThatMayNotBeWrittenIsRefused) {
    Database(Path(), Database::Mode::create).Execute("CREATE TABLE note (text TEXT)");
    chmod(Path().c_str(), 0444);
    chmod(root_.Path().c_str(), 0755);
    ChildProcess other([&] {
        if (getuid() == 0 && setuid(65534) != 0) { // root may write everything
            return 2;
        }
        return ErrorOfOpening(Path()) == "database '" + Path() + "': not writable" ? 0 : 1;
    });
    EXPECT_EQ(other.Wait(), 0);
}

// SQLite itself takes these for a URI, for memory and for a temporary file.
TEST_F(DatabaseTest, SpecialNamesAreOrdinaryFiles) {
    auto const former = std::filesystem::current_path();
    std::filesystem::current_path(root_.Path());
    for (std::string const name : {"file:test.db?mode=memory", ":memory:"}) {
        EXPECT_EQ(ErrorOfOpening(name), "");
        EXPECT_TRUE(std::filesystem::exists(name)) << name;
    }
    EXPECT_THAT(ErrorOfOpening(""), HasSubstr("unable to open database file"));
    std::filesystem::current_path(former);
}

TEST_F(NoteTest, BoundTextComesBackAsItIs) {
    std::vector<std::string> const texts{"",
                                         "'",
                                         "\"; DROP TABLE note; --",
                                         "?1",
                                         std::string("a\0b", 3),
                                         "\xFF\xFE",
                                         std::string(65536, 'x')};
    for (std::string const& text : texts) {
        Execute(database_, "INSERT INTO note (text) VALUES (?)", text);
    }
    EXPECT_EQ(Texts(database_), texts);
}

TEST_F(NoteTest, NumbersKeepAll64Bits) {
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    auto const sums = QueryAll(
        database_, [](Statement const& row) { return row.Number(0); }, "SELECT ?1 UNION SELECT ?2",
        least, 4294967295U);
    EXPECT_THAT(sums, ElementsAre(least, 4294967295));
}

TEST_F(NoteTest, NullReadsAsEmptyTextAndZero) {
    Statement statement(database_, "SELECT NULL");
    ASSERT_TRUE(statement.Step());
    EXPECT_EQ(statement.Text(0), "");
    EXPECT_EQ(statement.Number(0), 0);
}

TEST_F(NoteTest, WrongSqlIsAnErrorThatShowsIt) {
    EXPECT_EQ(FailureOf([&] { Execute(database_, "SELECT 1 FROM nowhere"); }),
              "database '" + Path() + "': no such table: nowhere [SELECT 1 FROM nowhere]");
}

TEST_F(NoteTest, MoreValuesThanParametersIsAnError) {
    EXPECT_THROW(Execute(database_, "SELECT ?1", 1, 2), Failure);
}

TEST_F(NoteTest, ViolatedConstraintIsAnError) {
    database_.Execute("CREATE UNIQUE INDEX once ON note (text)");
    Execute(database_, "INSERT INTO note (text) VALUES (?)", "a");
    EXPECT_THROW(Execute(database_, "INSERT INTO note (text) VALUES (?)", "a"), Failure);
    EXPECT_THAT(Texts(database_), ElementsAre("a"));
}

TEST_F(NoteTest, CommittedTransactionStays) {
    {
        Transaction transaction(database_);
        database_.Execute("INSERT INTO note VALUES ('a')");
        transaction.Commit();
    }
    EXPECT_THAT(Texts(Database(Path(), Database::Mode::existing)), ElementsAre("a"));
}

TEST_F(NoteTest, AbandonedTransactionIsRolledBack) {
    {
        Transaction const transaction(database_);
        database_.Execute("INSERT INTO note VALUES ('a')");
    }
    EXPECT_FALSE(database_.IsInTransaction());
    EXPECT_THAT(Texts(database_), IsEmpty());
}

TEST_F(NoteTest, TransactionThatCannotBeCommittedIsRolledBack) {
    {
        Transaction transaction(database_);
        Statement pending(database_, "INSERT INTO note VALUES ('a') RETURNING 1");
        ASSERT_TRUE(pending.Step());
        EXPECT_THROW(transaction.Commit(), Failure);
    }
    EXPECT_FALSE(database_.IsInTransaction());
    EXPECT_THAT(Texts(database_), IsEmpty());
}

TEST_F(NoteTest, FullDatabaseIsAnErrorAndGoesOnWhenThereIsSpace) {
    database_.Execute("INSERT INTO note VALUES ('a'); PRAGMA max_page_count = 2");
    std::string const large(100000, 'x');
    {
        Transaction const transaction(database_);
        EXPECT_THROW(Execute(database_, "INSERT INTO note VALUES (?)", large), Failure);
    }
    EXPECT_THAT(Texts(database_), ElementsAre("a"));
    database_.Execute("PRAGMA max_page_count = 1000");
    Execute(database_, "INSERT INTO note VALUES (?)", large);
    EXPECT_THAT(Texts(database_), ElementsAre("a", large));
}

} // namespace
} // namespace workstation::store
