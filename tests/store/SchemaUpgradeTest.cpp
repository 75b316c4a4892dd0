// A database of version 1 is brought up at the start of the service, wholly or not at all.
#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>

#include "store/StoreInvariants.h"
#include "store/StoreTest.h"
#include "store/Version1Database.h"
#include "support/ChildProcess.h"

namespace workstation::store {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// All rows of a table as one text.
std::string Rows(std::string const& path, std::string const& columns, std::string const& table) {
    return FirstText(Database(path, Database::Mode::existing),
                     "SELECT group_concat(" + columns + ", char(10)) FROM " + table);
}

std::string const fileColumns =
    "id || ' ' || file_number || ' ' || stream || ' ' || start_time || ' ' || stop_time || ' ' ||"
    " first_tick || ' ' || last_tick || ' ' || size || ' ' || finished || ' ' || wiped";
std::string const eventColumns =
    "id || ' ' || reid || ' ' || start_time || ' ' || stop_time || ' ' || streams || ' ' ||"
    " tags_complete || ' ' || parent";

std::string AllRows(std::string const& path) {
    return Rows(path, fileColumns, "file") + "\n" + Rows(path, eventColumns, "event") + "\n" +
           Rows(path, "event || ' ' || file", "event_file") + "\n" +
           Rows(path, "stream || ' ' || first || ' ' || next", "tick_counter");
}

std::string Version(std::string const& path) {
    return FirstText(Database(path, Database::Mode::existing), "PRAGMA user_version");
}

// The definitions of all tables and indices.
std::string Schema(std::string const& path) {
    return FirstText(Database(path, Database::Mode::existing),
                     "SELECT group_concat(sql, char(10)) FROM (SELECT sql FROM sqlite_schema"
                     " WHERE sql IS NOT NULL ORDER BY name)");
}

class SchemaUpgradeTest : public testing::Test {
protected:
    SchemaUpgradeTest() { MakeVersion1Database(Path()); }

    std::string Path() const { return root_.Path() / "events.db"; }

    TemporaryRoot root_;
};

TEST_F(SchemaUpgradeTest, EveryRowIsKept) {
    std::string const before = AllRows(Path());
    ASSERT_EQ(Version(Path()), "1");
    {
        EventStore store(Path());
        EXPECT_THAT(store.Recordings(), IsEmpty());
        EXPECT_THAT(store.Events(), SizeIs(3));
        EXPECT_THAT(store.UnfinishedFiles(), SizeIs(1));
    }
    EXPECT_EQ(Version(Path()), "2");
    EXPECT_EQ(AllRows(Path()), before);
    ExpectConsistent(Path());
}

TEST_F(SchemaUpgradeTest, TablesAreThoseOfANewDatabase) {
    std::string const other = root_.Path() / "new.db";
    EventStore const upgraded(Path());
    EventStore const made(other);
    EXPECT_EQ(Schema(Path()), Schema(other));
}

TEST_F(SchemaUpgradeTest, UpgradedDatabaseIsUsed) {
    EventStore store(Path());
    std::string const reid = store.BeginRecording(1, 1800000000);
    EXPECT_THAT(store.Recordings(), ElementsAre(RecordingRow{reid, 1, 1800000000, {}}));
    EXPECT_EQ(store.ReserveTicks(4, 10), 1200U);
}

TEST_F(SchemaUpgradeTest, KillLeavesTheOldVersionOrTheNew) {
    std::string const before = AllRows(Path());
    std::mt19937 random(20261122);
    int old = 0;
    for (int round = 1; round <= 100 && !HasFailure(); ++round) {
        std::string const path = root_.Path() / ("events" + std::to_string(round) + ".db");
        MakeVersion1Database(path);
        ChildProcess upgrader([&] {
            EventStore const store(path);
            pause();
            return 0;
        });
        // The moment of the kill is drawn, not waited for.
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 6000));
        upgrader.Kill();
        std::string const version = Version(path);
        EXPECT_TRUE(version == "1" || version == "2") << version;
        old += version == "1" ? 1 : 0;
        EXPECT_EQ(AllRows(path), before);
        EXPECT_TRUE(EventStore(path).BeginFile(1, 100, 1800000000, 0));
        ExpectConsistent(path);
    }
    EXPECT_GT(old, 0) << "no kill came before the upgrade was complete";
}

} // namespace
} // namespace workstation::store
