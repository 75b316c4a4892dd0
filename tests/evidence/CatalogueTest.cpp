// What is read from an event database, of each version.
#include "evidence/Catalogue.h"

#include <fstream>

#include "store/Statement.h"
#include "store/StoreTest.h"
#include "support/FailureOf.h"
#include "support/Snapshot.h"

namespace workstation::evidence {
namespace {

using store::Database;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char recordingTable[] = R"(
CREATE TABLE IF NOT EXISTS recording (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    reid TEXT NOT NULL UNIQUE,
    stream INTEGER NOT NULL CHECK (stream BETWEEN 1 AND 4),
    start_time INTEGER NOT NULL,
    stop_time INTEGER CHECK (stop_time >= start_time)
) STRICT;
PRAGMA user_version = 2)";

class CatalogueTest : public store::StoreTest {
protected:
    void Run(char const* script) const {
        Database(Path(), Database::Mode::existing).Execute(script);
    }
};

TEST_F(CatalogueTest, FilesAreThoseThatAreNotWipedInTheOrderOfRecording) {
    Record(1, 3, 100, 200);
    auto const second = Record(2, 1, 200, 300);
    auto const third = Record(1, 3, 300, 400);
    auto const growing = Begin(1, 2, 400);
    Catalogue const catalogue(Path());
    EXPECT_THAT(catalogue.Files(), ElementsAre(second, third, growing));
    ASSERT_NE(catalogue.FileIn(3), nullptr);
    EXPECT_EQ(*catalogue.FileIn(3), third);
    EXPECT_EQ(catalogue.FileIn(4), nullptr);
    EXPECT_EQ(catalogue.FileIn(0), nullptr);
}

TEST_F(CatalogueTest, EventsHaveTheirSlotsInTheOrderOfRecording) {
    Record(1, 3, 100, 200, 1000);
    Record(2, 1, 150, 300, 500);
    Record(1, 2, 300, 400, 700);
    auto const first = store_.RecordAfterTheFact(100, 200, store::allStreams, 400);
    auto const second = store_.RecordAfterTheFact(100, 400, 1, 400);
    ASSERT_TRUE(first && second);
    Catalogue const catalogue(Path());
    ASSERT_EQ(catalogue.Events().size(), 2U);
    HeldEvent const& held = catalogue.Events()[0];
    EXPECT_EQ(held.event, *first);
    EXPECT_THAT(held.slots, ElementsAre(3, 1));
    EXPECT_EQ(held.bytes, 1500U);
    EXPECT_THAT(catalogue.EventsOf(3), ElementsAre(first->reid, second->reid));
    EXPECT_THAT(catalogue.EventsOf(2), ElementsAre(second->reid));
    EXPECT_THAT(catalogue.EventsOf(4), IsEmpty());
    EXPECT_EQ(catalogue.FindEvent(second->reid), &catalogue.Events()[1]);
    EXPECT_EQ(catalogue.FindEvent("no event"), nullptr);
}

TEST_F(CatalogueTest, RecordingsOfVersionTwoAreReadAlsoWhileTheyLast) {
    Run(recordingTable);
    Run("INSERT INTO recording (reid, stream, start_time, stop_time)"
        " VALUES ('19700101-000140:00000001', 1, 100, 200), ('19700101-000320:00000002', 2, 200, "
        "NULL)");
    Catalogue const catalogue(Path());
    EXPECT_THAT(catalogue.Recordings(),
                ElementsAre(store::RecordingRow{"19700101-000140:00000001", 1, 100, 200},
                            store::RecordingRow{"19700101-000320:00000002", 2, 200, std::nullopt}));
    EXPECT_EQ(catalogue.FindRecording("19700101-000320:00000002"), &catalogue.Recordings()[1]);
    EXPECT_EQ(catalogue.FindRecording("no recording"), nullptr);
}

TEST_F(CatalogueTest, VersionOneHasNoRecordings) {
    Run("DROP TABLE IF EXISTS recording; PRAGMA user_version = 1");
    auto const file = Record(1, 1, 100, 200);
    Catalogue const catalogue(Path());
    EXPECT_THAT(catalogue.Files(), ElementsAre(file));
    EXPECT_THAT(catalogue.Recordings(), IsEmpty());
}

TEST_F(CatalogueTest, EmptyDatabaseKnowsNothing) {
    std::string const path = root_.Path() / "empty.db";
    std::ofstream const file(path);
    EXPECT_THAT(Catalogue(path).Files(), IsEmpty());
}

TEST_F(CatalogueTest, OtherVersionsAndOtherProgramsAreRefused) {
    auto const refusal = [&] { return FailureOf([&] { Catalogue const catalogue(Path()); }); };
    std::string const name = "database '" + Path() + "': ";
    Run("PRAGMA user_version = 3");
    EXPECT_EQ(refusal(), name + "version 3, this program knows versions 1 to 2");
    Run("PRAGMA user_version = 0");
    EXPECT_EQ(refusal(), name + "version 0, this program knows versions 1 to 2");
    Run("PRAGMA application_id = 1");
    EXPECT_EQ(refusal(), name + "made by another program, not an event database");
}

TEST_F(CatalogueTest, NothingIsChanged) {
    Record(1, 1, 100, 200);
    auto const before = Snapshot(root_.Path());
    EXPECT_EQ(Catalogue(Path()).Files().size(), 1U);
    EXPECT_EQ(Snapshot(root_.Path()), before);
}

} // namespace
} // namespace workstation::evidence
