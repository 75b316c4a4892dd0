// Opening the event database: what is made, what is refused, and that a refused file stays as it
// is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Failure.h"
#include "store/Database.h"
#include "store/EventSchema.h"
#include "store/EventStore.h"
#include "store/Statement.h"
#include "support/FailureOf.h"
#include "support/TemporaryRoot.h"

namespace workstation::store {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr std::streamoff pageSize = 4096;

class EventSchemaTest : public testing::Test {
protected:
    std::string Path() const { return root_.Path() / "events.db"; }

    std::string Content() const {
        std::ifstream file(Path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    void Write(std::string const& content) const {
        std::ofstream(Path(), std::ios::binary) << content;
    }

    void Overwrite(std::streamoff offset, std::string const& bytes) const {
        std::fstream file(Path(), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(offset).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    // A database of many pages.
    void Fill() const {
        EventStore store(Path());
        for (int number = 1; number <= 1000; ++number) {
            store.BeginFile(1, number, number, 0);
        }
    }

    // Its text, after making sure that the file is as it was.
    std::string Refusal() const {
        std::string const before = Content();
        std::string const refusal = FailureOf([&] { EventStore const store(Path()); });
        EXPECT_EQ(Content(), before);
        return refusal;
    }

    std::int64_t Number(char const* sql) const {
        Database database(Path(), Database::Mode::existing);
        return *QueryFirst(
            database, [](Statement const& row) { return row.Number(0); }, sql);
    }

    TemporaryRoot root_;
};

TEST_F(EventSchemaTest, MissingFileBecomesAnEventDatabase) {
    EventStore const store(Path());
    EXPECT_EQ(Number("PRAGMA application_id"), 0x534D4752);
    EXPECT_EQ(Number("PRAGMA user_version"), 2);
}

TEST_F(EventSchemaTest, ConnectionIsSetUpForDurableWriting) {
    Database database(Path(), Database::Mode::create);
    PrepareEventDatabase(database);
    auto const text = [](Statement const& row) { return row.Text(0); };
    EXPECT_EQ(QueryFirst(database, text, "PRAGMA journal_mode"), "wal");
    EXPECT_EQ(QueryFirst(database, text, "PRAGMA synchronous"), "2");
    EXPECT_EQ(QueryFirst(database, text, "PRAGMA foreign_keys"), "1");
}

TEST_F(EventSchemaTest, EmptyFileBecomesAnEventDatabase) {
    Write("");
    EventStore store(Path());
    EXPECT_TRUE(store.BeginFile(1, 1, 100, 0));
}

// What a process leaves that dies between the first page and the tables.
TEST_F(EventSchemaTest, DatabaseWithoutTablesBecomesAnEventDatabase) {
    Database(Path(), Database::Mode::create).Execute("PRAGMA journal_mode = WAL; VACUUM");
    ASSERT_GT(std::filesystem::file_size(Path()), 0U);
    EventStore store(Path());
    EXPECT_TRUE(store.BeginFile(1, 1, 100, 0));
}

TEST_F(EventSchemaTest, ContentIsFoundAgain) {
    EventStore(Path()).BeginFile(2, 7, 100, 5);
    auto const files = EventStore(Path()).FilesInUse();
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0], (RecordedFile{1, 7, 2, 100, 100, 5, 5, 0, false, false}));
}

TEST_F(EventSchemaTest, DatabaseOfAnotherProgramIsRefused) {
    Database(Path(), Database::Mode::create).Execute("CREATE TABLE file (id INTEGER)");
    EXPECT_EQ(Refusal(),
              "database '" + Path() + "': made by another program, not an event database");
}

TEST_F(EventSchemaTest, EmptyDatabaseOfAnotherProgramIsRefused) {
    Database(Path(), Database::Mode::create).Execute("PRAGMA application_id = 7");
    EXPECT_THAT(Refusal(), HasSubstr("made by another program"));
}

TEST_F(EventSchemaTest, OtherVersionIsRefused) {
    Fill();
    Database(Path(), Database::Mode::existing).Execute("PRAGMA user_version = 3");
    EXPECT_EQ(Refusal(),
              "database '" + Path() + "': version 3, this program knows versions 1 to 2");
}

TEST_F(EventSchemaTest, TextFileIsRefused) {
    Write("This is not a database but a text that is longer than the header of a database, "
          "which has one hundred bytes.\n");
    EXPECT_THAT(Refusal(), StartsWith("database '" + Path() + "': file is not a database"));
}

TEST_F(EventSchemaTest, DamagedHeaderIsRefused) {
    Fill();
    Overwrite(0, "XXXX");
    EXPECT_THAT(Refusal(), HasSubstr("file is not a database"));
}

TEST_F(EventSchemaTest, DamagedTableOfTablesIsRefused) {
    Fill();
    Overwrite(100, std::string(pageSize - 100, '\xAA'));
    EXPECT_THAT(Refusal(), HasSubstr("malformed"));
}

TEST_F(EventSchemaTest, EachDamagedPageIsRefused) {
    Fill();
    std::string const good = Content();
    auto const pages = static_cast<std::streamoff>(good.size()) / pageSize;
    ASSERT_GT(pages, 10);
    for (std::streamoff page = 1; page < pages; ++page) {
        Write(good);
        Overwrite(page * pageSize, std::string(pageSize, '\xAA'));
        EXPECT_THAT(Refusal(), HasSubstr("damaged: ")) << "page " << page;
    }
}

TEST_F(EventSchemaTest, TruncatedFileIsRefused) {
    Fill();
    std::string const good = Content();
    for (std::size_t size : {good.size() - 1, good.size() / 2, std::size_t{pageSize}}) {
        Write(good.substr(0, size));
        EXPECT_THAT(Refusal(), HasSubstr("database '" + Path() + "': d")) << size << " bytes";
    }
}

} // namespace
} // namespace workstation::store
