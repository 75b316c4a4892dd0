// d2b list: what it prints, its exit status, and that it changes nothing.
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "CommandRun.h"
#include "pool/PoolSession.h"
#include "pool/StreamFile.h"
#include "store/EventStore.h"
#include "store/Statement.h"
#include "support/PeakMemory.h"
#include "support/ReadOnlyPlaces.h"
#include "support/Sanitizers.h"
#include "support/Snapshot.h"
#include "support/Stopwatch.h"
#include "support/TestRoot.h"
#include "ts/TestStream.h"

using namespace workstation;

namespace {

constexpr unsigned int allStreams = 0xF;

// Twenty ticks for each second: tick 1000 has the time 50.
std::string Ticks(unsigned int first, unsigned int last) {
    ts_test::TestStream stream;
    for (unsigned int tick = first; tick <= last; ++tick) {
        stream.Tick(tick).Media(3);
    }
    return {stream.Data().begin(), stream.Data().end()};
}

std::string const header = "  slot  stream  state         bytes  first tick   last tick  "
                           "from                      to                        events\n";

class ListCommandTest : public testing::Test {
protected:
    ListCommandTest() {
        setenv("TZ", "UTC", 1);
        root_.MakePool(5);
    }
    ~ListCommandTest() override { unsetenv("TZ"); }

    // A recording of a stream in a slot, as its row and its packets are left.
    void Record(unsigned int stream, int slot, unsigned int first, unsigned int last) {
        auto const id = store_.BeginFile(stream, slot, first / 20, first);
        ASSERT_TRUE(id);
        std::string const packets = Ticks(first, last);
        LoadSlot(root_.Pool(), slot, packets);
        store_.FinishFile(*id, static_cast<unsigned int>(packets.size()), last / 20, last);
    }

    // An event of what was recorded; returns its identifier.
    std::string Keep(std::int64_t from, std::int64_t to) {
        return store_.RecordAfterTheFact(from, to, allStreams, to).value().reid;
    }

    static Outcome List(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "list");
        return RunCommand(arguments);
    }

    static void Expect(int status, std::string const& out, std::string const& err,
                       std::vector<std::string> const& arguments) {
        EXPECT_EQ(List(arguments), (Outcome{status, out, err}));
    }

    // The document, which fits its schema.
    static nlohmann::json Json(std::vector<std::string> arguments, int status = 0) {
        arguments.emplace_back("--json");
        auto const outcome = List(arguments);
        EXPECT_EQ(outcome.status, status) << outcome.err;
        EXPECT_TRUE(FitsSchema(outcome.out, LIST_SCHEMA)) << outcome.out;
        return nlohmann::json::parse(outcome.out);
    }

    // What a query, which makes one text, says.
    nlohmann::json Sql(std::string const& query) const {
        store::Database const database(DatabasePath(), store::Database::Mode::existing);
        auto const text = store::QueryFirst(
            database, [](store::Statement const& row) { return row.Text(0); }, query);
        return nlohmann::json::parse(text.value());
    }

    TestRoot root_;
    store::EventStore store_{DatabasePath()};
};

TEST_F(ListCommandTest, SlotsHaveTheirStreamStateTicksAndEvents) {
    Record(1, 1, 1000, 1039);
    std::string const reid = Keep(50, 51);
    LoadSlot(root_.Pool(), 3, Ticks(2000, 2000));
    store_.BeginFile(4, 4, 200, 4000);
    LoadSlot(root_.Pool(), 4, Ticks(4000, 4019));
    LoadSlot(root_.Pool(), 5, "no packets");
    std::string const expected =
        header +
        "     1       1  finished      30080        1000        1039  1970-01-01 00:00:50 UTC   "
        "1970-01-01 00:00:51 UTC   " +
        reid +
        "\n"
        "     2       -  free              0           -           -  -                         "
        "-                         -\n"
        "     3       -  unknown         752        2000        2000  1970-01-01 00:01:40 UTC   "
        "1970-01-01 00:01:40 UTC   -\n"
        "     4       4  recording     15040        4000        4019  1970-01-01 00:03:20 UTC   "
        "1970-01-01 00:03:20 UTC   -\n"
        "     5       -  unknown          10           -           -  -                         "
        "-                         -\n";
    Expect(0, expected, "", {});
    Expect(0, expected, "", {"slots"});
}

TEST_F(ListCommandTest, SlotsInJson) {
    Record(1, 1, 1000, 1039);
    std::string const first = Keep(50, 51);
    std::string const second = Keep(51, 51);
    auto const slots = Json({"slots"})["slots"];
    ASSERT_EQ(slots.size(), 5U);
    EXPECT_EQ(slots[0], (nlohmann::json{{"slot", 1},
                                        {"stream", 1},
                                        {"state", "finished"},
                                        {"bytes", 30080},
                                        {"first_tick", 1000},
                                        {"last_tick", 1039},
                                        {"from", 50},
                                        {"to", 51},
                                        {"events", {first, second}}}));
    auto const none = nlohmann::json();
    EXPECT_EQ(slots[1], (nlohmann::json{{"slot", 2},
                                        {"stream", none},
                                        {"state", "free"},
                                        {"bytes", 0},
                                        {"first_tick", none},
                                        {"last_tick", none},
                                        {"from", none},
                                        {"to", none},
                                        {"events", nlohmann::json::array()}}));
}

TEST_F(ListCommandTest, SlotThatARecordingWritesIsOfItsStream) {
    Record(1, 2, 1000, 1039); // is recorded over, which the database does not know yet
    {
        pool::PoolSession session;
        session.Load(true);
        auto const file =
            pool::StreamFile::OpenForWriting(session, 2, StreamMgrFileMgmnt::ControlStream3);
        auto const slot = Json({})["slots"][1];
        EXPECT_EQ(slot["state"], "recording");
        EXPECT_EQ(slot["stream"], 3);
    }
    pool::PoolImage::Open(root_.Pool())
        ->Set(2, pool::EntryWord::controller, StreamMgrFileMgmnt::ControlStream3);
    auto const slot = Json({})["slots"][1]; // its writer was killed
    EXPECT_EQ(slot["state"], "finished");
    EXPECT_EQ(slot["stream"], 1);
}

TEST_F(ListCommandTest, RecordingGrowsFromListToList) {
    store_.BeginFile(2, 1, 50, 1000);
    for (unsigned int const last : {1010U, 1030U}) {
        LoadSlot(root_.Pool(), 1, Ticks(1000, last));
        auto const slot = Json({})["slots"][0];
        EXPECT_EQ(slot["last_tick"], last);
        EXPECT_EQ(slot["state"], "recording");
    }
}

TEST_F(ListCommandTest, EmptiedSlotIsFree) {
    Record(1, 1, 1000, 1039);
    pool::PoolImage::Open(root_.Pool())->Set(1, pool::EntryWord::length, 0);
    auto const slot = Json({})["slots"][0];
    EXPECT_EQ(slot["state"], "free");
    EXPECT_EQ(slot["stream"], nlohmann::json());
    EXPECT_EQ(Json({"streams"}), (nlohmann::json{{"streams", nlohmann::json::array()}}));
}

// Stream 1: slots 3, 1 and 2 follow each other, a tick is missing before slot 5. Stream 2: slot 4.
TEST_F(ListCommandTest, StreamsHaveGapsWhereTicksAreMissingOrApart) {
    Record(1, 3, 1000, 1039);
    Record(1, 1, 1040, 1079);
    Record(2, 4, 0, 0);
    Record(1, 2, 1080, 1119);
    Record(1, 5, 1121, 1139);
    auto const streams = Json({"streams"})["streams"];
    ASSERT_EQ(streams.size(), 2U);
    EXPECT_EQ(streams[0], (nlohmann::json{{"stream", 1},
                                          {"slots", {3, 1, 2, 5}},
                                          {"bytes", 139 * 752},
                                          {"from", 50},
                                          {"to", 56},
                                          {"gaps", {{{"from", 55}, {"to", 56}}}}}));
    EXPECT_EQ(streams[1]["slots"], nlohmann::json{4});
    EXPECT_EQ(streams[1]["gaps"], nlohmann::json::array());
    Expect(0,
           "stream           bytes  from                      to                        gaps  "
           "slots\n"
           "     1          104528  1970-01-01 00:00:50 UTC   1970-01-01 00:00:56 UTC      1  "
           "3,1-2,5\n"
           "        gap: 1970-01-01 00:00:55 UTC to 1970-01-01 00:00:56 UTC\n"
           "     2             752  1970-01-01 00:00:00 UTC   1970-01-01 00:00:00 UTC      -  4\n",
           "", {"streams"});
}

TEST_F(ListCommandTest, EventsAreWhatSqlSays) {
    Record(1, 3, 1000, 1039);
    Record(2, 1, 1000, 1059);
    Record(1, 2, 1040, 1079);
    std::string const whole = Keep(50, 60);
    Keep(52, 53);
    ASSERT_TRUE(store_.SplitEvent(whole, 1));
    store_.SetTagsComplete(Keep(50, 50));
    auto const events = Json({"events"});
    EXPECT_EQ(events["events"].size(), 5U);
    EXPECT_EQ(events["events"][1]["parent"], whole);
    EXPECT_EQ(events, Sql(R"(
        SELECT json_object('events', json_group_array(json_object(
            'reid', reid, 'from', start_time, 'to', stop_time,
            'streams', (SELECT json_group_array(n) FROM (SELECT 1 AS n UNION SELECT 2 UNION
                        SELECT 3 UNION SELECT 4) WHERE streams >> (n - 1) & 1),
            'slots', (SELECT json_group_array(file_number) FROM (SELECT file_number FROM file
                      JOIN event_file ON file.id = file WHERE event = e.id ORDER BY file.id)),
            'bytes', (SELECT sum(size) FROM file JOIN event_file ON file.id = file
                      WHERE event = e.id),
            'tags_complete', json(iif(tags_complete, 'true', 'false')),
            'parent', parent)))
        FROM (SELECT * FROM event ORDER BY id) AS e)"));
}

TEST_F(ListCommandTest, EventsInColumns) {
    Record(1, 3, 1000, 1039);
    Record(2, 1, 1000, 1059);
    std::string const reid = Keep(50, 60);
    Expect(0,
           "reid                      from                      to                        streams "
           "          bytes  tags        parent                    slots\n" +
               reid +
               "  1970-01-01 00:00:50 UTC   1970-01-01 00:00:52 UTC   1-2               75200  "
               "incomplete  -                         3,1\n",
           "", {"events"});
}

TEST_F(ListCommandTest, RecordingsAreListedAlsoWhileTheyLast) {
    store::Database database(DatabasePath(), store::Database::Mode::existing);
    database.Execute("DROP TABLE IF EXISTS recording; CREATE TABLE recording (id INTEGER PRIMARY"
                     " KEY AUTOINCREMENT, reid TEXT NOT NULL UNIQUE, stream INTEGER NOT NULL,"
                     " start_time INTEGER NOT NULL, stop_time INTEGER) STRICT;"
                     " PRAGMA user_version = 2; INSERT INTO recording (reid, stream, start_time,"
                     " stop_time) VALUES ('19700101-000050:00000001', 1, 50, 60),"
                     " ('19700101-000050:00000002', 2, 50, NULL)");
    nlohmann::json const expected = {
        {"recordings",
         {{{"reid", "19700101-000050:00000001"}, {"stream", 1}, {"from", 50}, {"to", 60}},
          {{"reid", "19700101-000050:00000002"},
           {"stream", 2},
           {"from", 50},
           {"to", nlohmann::json()}}}}};
    EXPECT_EQ(Json({"recordings"}), expected);
    Expect(0,
           "reid                      stream  from                      to\n"
           "19700101-000050:00000001       1  1970-01-01 00:00:50 UTC   1970-01-01 00:01:00 UTC\n"
           "19700101-000050:00000002       2  1970-01-01 00:00:50 UTC   -\n",
           "", {"recordings"});
}

TEST_F(ListCommandTest, ImageAloneIsKnownByItsTicks) {
    Record(1, 1, 1000, 1039);
    Keep(50, 51);
    LoadSlot(root_.Pool(), 3, "no packets");
    auto const slots = Json({"--pool", root_.Pool()})["slots"];
    EXPECT_EQ(slots[0]["state"], "finished");
    EXPECT_EQ(slots[0]["first_tick"], 1000);
    EXPECT_EQ(slots[0]["events"], nlohmann::json::array());
    EXPECT_EQ(slots[1]["state"], "unknown");
    EXPECT_EQ(slots[2]["state"], "unknown");
    for (auto const& slot : slots) {
        EXPECT_EQ(slot["stream"], nlohmann::json());
    }
    std::string const note = "d2b: without --db only the slots of an image are known\n";
    Expect(0, "{\"streams\":[]}\n", note, {"streams", "--pool", root_.Pool(), "--json"});
    Expect(0, "{\"events\":[]}\n", note, {"events", "--pool", root_.Pool(), "--json"});
    Expect(0, "{\"recordings\":[]}\n", note, {"recordings", "--pool", root_.Pool(), "--json"});
}

TEST_F(ListCommandTest, RecorderThatHasNotRecordedYetHasFreeSlots) {
    std::filesystem::remove(DatabasePath());
    auto const slots = Json({})["slots"];
    EXPECT_EQ(slots[0]["state"], "free");
    Expect(0, "{\"events\":[]}\n", "", {"events", "--json"});
}

// Everything that a list shows, from copies of a pool and of its database.
TEST_F(ListCommandTest, CopiesAndBackupsAreListedAsTheOriginals) {
    Record(1, 1, 1000, 1039);
    Keep(50, 51);
    TemporaryDirectory const copies;
    std::filesystem::copy_file(root_.Pool(), copies.Path("image"));
    std::filesystem::copy_file(DatabasePath(), copies.Path("killed.db"));
    std::filesystem::copy_file(DatabasePath() + "-wal", copies.Path("killed.db-wal"));
    store_.Backup(copies.Path("backup.db"));
    auto const before = Snapshot(copies.Path());
    for (char const* const what : {"slots", "streams", "events", "recordings"}) {
        auto const original = List({what});
        EXPECT_EQ(original.status, 0);
        for (char const* const database : {"killed.db", "backup.db"}) {
            EXPECT_EQ(List({what, "--pool", copies.Path("image"), "--db", copies.Path(database)}),
                      original);
            EXPECT_EQ(List({what, "--db", copies.Path(database)}), original);
        }
    }
    EXPECT_EQ(Snapshot(copies.Path()), before);
}

TEST_F(ListCommandTest, ChangesNothing) {
    Record(1, 1, 1000, 1039);
    Keep(50, 51);
    auto const before = Snapshot(root_.Path());
    for (char const* const what : {"slots", "streams", "events", "recordings"}) {
        EXPECT_EQ(List({what}).status, 0);
        EXPECT_EQ(List({what, "--json"}).status, 0);
    }
    EXPECT_EQ(Snapshot(root_.Path()), before);
}

TEST_F(ListCommandTest, ReadOnlyMountIsListed) {
    Record(1, 1, 1000, 1039);
    Keep(50, 51);
    auto const expected = List({});
    int const status =
        RunOnReadOnlyMount(root_.Path(), [&] { return List({}) == expected ? 0 : 1; });
    if (status == cannotMount) {
        GTEST_SKIP() << "nothing may be mounted here";
    }
    EXPECT_EQ(status, 0);
}

TEST_F(ListCommandTest, ImmutableFilesAreListed) {
    Record(1, 1, 1000, 1039);
    auto const expected = List({});
    ImmutableFile const pool(root_.Pool());
    ImmutableFile const database(DatabasePath());
    if (!pool.IsSet() || !database.IsSet()) {
        GTEST_SKIP() << "no file can be made immutable here";
    }
    EXPECT_EQ(List({}), expected);
}

TEST_F(ListCommandTest, DamagedImageIsListedAsFarAsItCanBeRead) {
    Record(1, 1, 1000, 1039);
    Record(1, 2, 1040, 1079);
    auto const sound = List({});
    pool::PoolImage::Open(root_.Pool())->Set(4, pool::EntryWord::length, pool::poolSlotSize + 1);
    auto const slots = Json({}, 3)["slots"];
    EXPECT_EQ(slots[3]["bytes"], pool::poolSlotSize);
    EXPECT_EQ(List({}).err, "d2b: stream file 4: stated length 98566145 is beyond the slot of "
                            "98566144 bytes\n");
    pool::PoolImage::Open(root_.Pool())->Set(4, pool::EntryWord::length, 0);

    auto const secondSlot = pool::PoolImage::Open(root_.Pool())->SlotOffset(2);
    std::filesystem::resize_file(root_.Pool(), secondSlot + 10 * 752);
    auto const second = Json({}, 3)["slots"][1];
    EXPECT_EQ(second["last_tick"], 1049);
    EXPECT_EQ(second["bytes"], 30080);
    EXPECT_EQ(Json({"streams"}, 3)["streams"][0]["to"], 52);

    std::filesystem::resize_file(root_.Pool(), pool::PoolImageSize(5));
    WriteBytes(root_.Pool(), "x", 0);
    auto const damaged = List({});
    EXPECT_EQ(damaged.status, 3);
    EXPECT_EQ(damaged.err,
              "d2b: pool '" + root_.Pool() + "': not a pool image: the magic number is missing\n");
}

TEST_F(ListCommandTest, WhatCannotBeOpenedIsAnError) {
    Expect(1, "", "d2b: database '/missing': No such file or directory\n", {"--db", "/missing"});
    Expect(1, "", "d2b: cannot open '/missing': No such file or directory\n",
           {"--pool", "/missing", "--json"});
    Expect(1, "", "d2b: '" + root_.Path() + "' is not a pool image\n",
           {"events", "--pool", root_.Path(), "--db", DatabasePath()});
    Expect(1, "", "d2b: database '" + root_.Pool() + "': not a database\n",
           {"events", "--db", root_.Pool()});
}

TEST_F(ListCommandTest, MisuseIsRefused) {
    Expect(2, "", "d2b: WHAT: files not in {slots,streams,events,recordings} (see d2b --help)\n",
           {"files"});
    EXPECT_EQ(List({"slots", "events"}).status, 2);
    EXPECT_EQ(List({"--pool"}).status, 2);
    EXPECT_EQ(List({"--progress"}).status, 2);
}

// 2,000 full slots with ticks at their ends, all in the database and half of them held.
TEST_F(ListCommandTest, TwoThousandSlotsTakeLessThanASecondAndSixteenMegabytes) {
    if (hasAddressSanitizer || hasThreadSanitizer) {
        GTEST_SKIP() << "a sanitizer takes time and memory of its own";
    }
    constexpr int slots = 2000;
    root_.MakePool(slots);
    auto const image = pool::PoolImage::Open(root_.Pool());
    std::string const ends = Ticks(1000, 1019);
    for (int slot = 1; slot <= slots; ++slot) {
        WriteBytes(root_.Pool(), ends, image->SlotOffset(slot));
        WriteBytes(root_.Pool(), ends, image->SlotOffset(slot) + pool::poolSlotSize - ends.size());
        image->Set(slot, pool::EntryWord::length, pool::poolSlotSize);
    }
    store::Database(DatabasePath(), store::Database::Mode::existing)
        .Execute("WITH RECURSIVE slot (n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM slot LIMIT 2000)"
                 " INSERT INTO file (file_number, stream, start_time, stop_time, first_tick,"
                 " last_tick, size, finished) SELECT n, 1, n, n, n, n, 98566144, 1 FROM slot");
    Keep(1, slots / 2);

    std::string const out = root_.Path() + "/out.json";
    Stopwatch const stopwatch;
    auto const run = RunMeasured({D2B, "list", "--json"}, out);
    EXPECT_EQ(run.status, 0);
    EXPECT_LT(stopwatch.ElapsedMs(), 1000);
    EXPECT_LT(run.peakMemoryKiB, 16 * 1024);
    auto const list = nlohmann::json::parse(BytesOf(out));
    EXPECT_EQ(list["slots"].size(), static_cast<std::size_t>(slots));
    EXPECT_EQ(list["slots"][999]["last_tick"], 1019);
    EXPECT_EQ(list["slots"][999]["events"].size(), 1U);
    EXPECT_EQ(list["slots"][1000]["events"].size(), 0U);
}

} // namespace
