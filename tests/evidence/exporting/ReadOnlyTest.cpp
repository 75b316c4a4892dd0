// The verbs that look at a recorder where nothing can be changed, and that they change nothing.
#include "ExportTest.h"
#include "support/ReadOnlyPlaces.h"
#include "support/Snapshot.h"

namespace workstation::evidence::exporting {
namespace {

class ReadOnlyTest : public ExportTest {
protected:
    ReadOnlyTest() { RecordThreeSlots(); }

    // Runs every verb, and returns what they printed.
    std::vector<Outcome> RunAll() const {
        return {RunCommand({"list"}),
                RunCommand({"list", "streams"}),
                RunCommand({"list", "events"}),
                RunCommand({"list", "recordings"}),
                RunCommand({"scan"}),
                RunCommand({"scan", "--json", "--pool", root_.Pool(), "--map", Out("map")}),
                Export({"--stream", "1", "--from", "@53", "--to", "@61", "--force"}),
                Export({"--slots", "2,3", "--pool", root_.Pool(), "--force"}),
                RunCommand({"verify", Out() + ".json", "--pool", root_.Pool()})};
    }
};

TEST_F(ReadOnlyTest, NoVerbChangesARecorder) {
    auto const before = Snapshot(root_.Path());
    for (Outcome const& outcome : RunAll()) {
        EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
        EXPECT_EQ(outcome.err, "");
    }
    EXPECT_EQ(Snapshot(root_.Path()), before);
}

TEST_F(ReadOnlyTest, ReadOnlyMountServesEveryVerb) {
    auto const expected = RunAll();
    int const status =
        RunOnReadOnlyMount(root_.Path(), [&] { return RunAll() == expected ? 0 : 1; });
    if (status == cannotMount) {
        GTEST_SKIP() << "nothing may be mounted here";
    }
    EXPECT_EQ(status, 0);
}

TEST_F(ReadOnlyTest, ImmutableFilesServeEveryVerb) {
    auto const expected = RunAll();
    ImmutableFile const pool(root_.Pool());
    ImmutableFile const database(root_.Path() + "/events.db");
    if (!pool.IsSet() || !database.IsSet()) {
        GTEST_SKIP() << "no file can be made immutable here";
    }
    EXPECT_EQ(RunAll(), expected);
}

} // namespace
} // namespace workstation::evidence::exporting
