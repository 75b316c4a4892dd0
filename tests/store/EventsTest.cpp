// Events made after the fact, and the files that they hold.
#include <limits>

#include "StoreTest.h"

namespace workstation::store {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EventsTest : public StoreTest {
protected:
    // An event of all streams; nothing is still being recorded.
    Event MakeEvent(std::int64_t start, std::int64_t stop) {
        auto const event = store_.RecordAfterTheFact(start, stop, allStreams, stop);
        EXPECT_TRUE(event);
        return event.value_or(Event{});
    }
};

TEST_F(EventsTest, NewStoreIsEmpty) {
    EXPECT_THAT(store_.Events(), IsEmpty());
    EXPECT_EQ(store_.FindEvent(""), std::nullopt);
    EXPECT_EQ(store_.FilesHeldByEvents(), HeldFiles{});
}

TEST_F(EventsTest, EventHoldsWhatTheIntervalTouches) {
    Record(1, 1, 100, 200);
    RecordedFile const second = Record(1, 2, 200, 300);
    RecordedFile const third = Record(1, 3, 300, 400);
    Record(1, 4, 400, 500);
    Event const event = MakeEvent(250, 350);
    EXPECT_EQ(event, (Event{event.reid, 250, 350, 1, false, ""}));
    EXPECT_THAT(store_.FilesOf(event.reid), ElementsAre(second, third));
    EXPECT_EQ(store_.FindEvent(event.reid), event);
    EXPECT_THAT(store_.Events(), ElementsAre(event));
}

// One file, from 100 to 200.
struct IntervalCase {
    std::int64_t start;
    std::int64_t stop;
    std::optional<std::pair<std::int64_t, std::int64_t>> held;
};

class IntervalTest : public StoreTest, public testing::WithParamInterface<IntervalCase> {
protected:
    std::optional<std::pair<std::int64_t, std::int64_t>> Held(std::int64_t now) {
        auto const event =
            store_.RecordAfterTheFact(GetParam().start, GetParam().stop, allStreams, now);
        if (!event) {
            EXPECT_THAT(store_.Events(), IsEmpty());
            return std::nullopt;
        }
        return std::pair(event->startTime, event->stopTime);
    }
};

constexpr std::int64_t earliest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t latest = std::numeric_limits<std::int64_t>::max();

INSTANTIATE_TEST_SUITE_P(
    Boundaries, IntervalTest,
    testing::Values(IntervalCase{0, 99, {}}, IntervalCase{0, 100, {{100, 100}}},
                    IntervalCase{99, 101, {{100, 101}}}, IntervalCase{100, 200, {{100, 200}}},
                    IntervalCase{150, 150, {{150, 150}}}, IntervalCase{199, 201, {{199, 200}}},
                    IntervalCase{200, 300, {{200, 200}}}, IntervalCase{201, 300, {}},
                    IntervalCase{0, 1000, {{100, 200}}},
                    IntervalCase{earliest, latest, {{100, 200}}}, IntervalCase{151, 150, {}},
                    IntervalCase{1000, 0, {}}, IntervalCase{latest, earliest, {}}));

TEST_P(IntervalTest, FinishedFileIsHeldFromItsStartToItsStop) {
    Record(1, 1, 100, 200);
    EXPECT_EQ(Held(0), GetParam().held);
}

TEST_P(IntervalTest, UnfinishedFileIsHeldFromItsStartUntilNow) {
    Begin(1, 1, 100);
    EXPECT_EQ(Held(200), GetParam().held);
}

TEST_F(EventsTest, UnfinishedFileReachesItsStartAlsoWhenTheClockWasSetBack) {
    RecordedFile const file = Begin(1, 1, 100);
    auto const event = store_.RecordAfterTheFact(0, 100, allStreams, 50);
    ASSERT_TRUE(event);
    EXPECT_EQ(*event, (Event{event->reid, 100, 100, 1, false, ""}));
    EXPECT_THAT(store_.FilesOf(event->reid), ElementsAre(file));
}

TEST_F(EventsTest, GapWithoutARecordingIsNothing) {
    Record(1, 1, 100, 200);
    Record(1, 2, 300, 400);
    EXPECT_EQ(store_.RecordAfterTheFact(201, 299, allStreams, 1000), std::nullopt);
}

TEST_F(EventsTest, WipedFilesAreNotHeld) {
    RecordedFile const wiped = Record(1, 1, 100, 200);
    RecordedFile const file = Record(1, 2, 200, 300);
    EXPECT_TRUE(store_.Wipe(wiped.id));
    Event const event = MakeEvent(100, 300);
    EXPECT_EQ(event.startTime, 200);
    EXPECT_THAT(store_.FilesOf(event.reid), ElementsAre(file));
}

TEST_F(EventsTest, OnlyTheStreamsOfTheMaskAreKept) {
    RecordedFile const first = Record(1, 1, 100, 200);
    RecordedFile const second = Record(2, 2, 100, 190);
    RecordedFile const fourth = Record(4, 4, 110, 200);
    struct {
        unsigned int mask;
        unsigned int kept;
        std::vector<RecordedFile> files;
    } const cases[] = {
        {0x1, 0x1, {first}},
        {0x2, 0x2, {second}},
        {0x8, 0x8, {fourth}},
        {0xF, 0xB, {first, second, fourth}},
        {0xFFFFFFFF, 0xB, {first, second, fourth}},
    };
    for (auto const& one : cases) {
        auto const event = store_.RecordAfterTheFact(0, 300, one.mask, 300);
        ASSERT_TRUE(event) << one.mask;
        EXPECT_EQ(event->streams, one.kept);
        EXPECT_EQ(store_.FilesOf(event->reid), one.files);
    }
    for (unsigned int mask : {0x0U, 0x4U, 0xFFFFFFF0U}) {
        EXPECT_EQ(store_.RecordAfterTheFact(0, 300, mask, 300), std::nullopt) << mask;
    }
}

TEST_F(EventsTest, EventKnowsWhatBecameOfAFileThatWasBeingRecorded) {
    RecordedFile const begun = Begin(1, 1, 100);
    auto const event = store_.RecordAfterTheFact(0, 150, allStreams, 150);
    ASSERT_TRUE(event);
    EXPECT_TRUE(store_.FinishFile(begun.id, 500, 200, 300));
    EXPECT_THAT(store_.FilesOf(event->reid),
                ElementsAre(RecordedFile{begun.id, 1, 1, 100, 200, 100, 300, 500, true, false}));
    EXPECT_EQ(store_.FindEvent(event->reid), event);
}

TEST_F(EventsTest, HeldFileIsNeitherWipedNorOffered) {
    RecordedFile const held = Record(1, 1, 100, 200);
    RecordedFile const next = Record(1, 2, 300, 400);
    MakeEvent(100, 200);
    EXPECT_FALSE(store_.Wipe(held.id));
    EXPECT_THAT(store_.UnprotectedFiles(), ElementsAre(next));
    EXPECT_TRUE(store_.Wipe(next.id));
    EXPECT_THAT(store_.UnprotectedFiles(), IsEmpty());
    EXPECT_THAT(store_.FilesInUse(), ElementsAre(held));
}

TEST_F(EventsTest, HeldFileIsNotUsedAgain) {
    RecordedFile const held = Record(1, 1, 100, 200);
    MakeEvent(100, 200);
    EXPECT_EQ(store_.BeginFile(1, 1, 500, 500), std::nullopt);
    EXPECT_THAT(store_.FilesInUse(), ElementsAre(held));
}

TEST_F(EventsTest, DeletedEventFreesWhatNoOtherHolds) {
    RecordedFile const first = Record(1, 1, 100, 200);
    RecordedFile const shared = Record(1, 2, 200, 300);
    Event const one = MakeEvent(100, 250);
    Event const other = MakeEvent(250, 260);
    EXPECT_TRUE(store_.DeleteEvent(one.reid));
    EXPECT_EQ(store_.FindEvent(one.reid), std::nullopt);
    EXPECT_THAT(store_.FilesOf(one.reid), IsEmpty());
    EXPECT_THAT(store_.Events(), ElementsAre(other));
    EXPECT_THAT(store_.UnprotectedFiles(), ElementsAre(first));
    EXPECT_TRUE(store_.Wipe(first.id));
    EXPECT_FALSE(store_.Wipe(shared.id));
    EXPECT_TRUE(store_.DeleteEvent(other.reid));
    EXPECT_TRUE(store_.Wipe(shared.id));
}

TEST_F(EventsTest, TagsAreSetComplete) {
    Record(1, 1, 100, 200);
    Event one = MakeEvent(100, 200);
    Event const other = MakeEvent(100, 200);
    EXPECT_TRUE(store_.SetTagsComplete(one.reid));
    EXPECT_TRUE(store_.SetTagsComplete(one.reid));
    one.tagsComplete = true;
    EXPECT_THAT(store_.Events(), ElementsAre(one, other));
}

TEST_F(EventsTest, HostileIdentifiersAreJustUnknown) {
    Record(1, 1, 100, 200);
    Event const event = MakeEvent(100, 200);
    std::string const hostile[] = {
        "",
        "'",
        "' OR '1'='1",
        "x'; DROP TABLE event; --",
        "\"",
        "?1",
        "%",
        "*",
        event.reid + " ",
        event.reid + std::string(1, '\0'),
        event.reid + std::string("\0'; DELETE FROM event", 21),
        event.reid.substr(0, event.reid.size() - 1),
        "\xFF\xC0\x80",
        std::string(65536, '\''),
        std::string(65536, '\0'),
    };
    for (std::string const& reid : hostile) {
        EXPECT_EQ(store_.FindEvent(reid), std::nullopt);
        EXPECT_THAT(store_.FilesOf(reid), IsEmpty());
        EXPECT_FALSE(store_.DeleteEvent(reid));
        EXPECT_FALSE(store_.SetTagsComplete(reid));
        EXPECT_EQ(store_.SplitEvent(reid, 96256), std::nullopt);
    }
    EXPECT_THAT(store_.Events(), ElementsAre(event));
}

// Files in the order of recording, the event that holds each, and where the ring begins:
//   1 event | 2 free | 3 event | 4 being recorded
TEST_F(EventsTest, EventsYoungerThanTheOldestFreeFileAreInTheBuffer) {
    Record(1, 1, 100, 199);
    RecordedFile const free = Record(1, 2, 200, 299);
    Record(2, 3, 300, 399);
    Begin(1, 4, 400);
    MakeEvent(100, 150);
    Event const younger = MakeEvent(300, 350);
    EXPECT_EQ(store_.FilesHeldByEvents(), (HeldFiles{{3}, {1}}));
    EXPECT_TRUE(store_.Wipe(free.id));
    EXPECT_EQ(store_.FilesHeldByEvents(), (HeldFiles{{}, {1, 3}}));
    EXPECT_TRUE(store_.DeleteEvent(younger.reid));
    EXPECT_EQ(store_.FilesHeldByEvents(), (HeldFiles{{}, {1}}));
}

TEST_F(EventsTest, HeldFileThatIsBeingRecordedIsInTheBuffer) {
    Record(1, 1, 100, 199);
    RecordedFile const recording = Begin(1, 2, 200);
    MakeEvent(100, 300);
    EXPECT_EQ(store_.FilesHeldByEvents(), (HeldFiles{{2}, {1}}));
    EXPECT_TRUE(store_.FinishFile(recording.id, 1, 300, 1));
    EXPECT_EQ(store_.FilesHeldByEvents(), (HeldFiles{{}, {1, 2}}));
}

TEST_F(EventsTest, FileHeldTwiceCountsOnce) {
    Record(1, 1, 100, 200);
    MakeEvent(100, 150);
    MakeEvent(150, 200);
    EXPECT_EQ(store_.FilesHeldByEvents(), (HeldFiles{{}, {1}}));
}

} // namespace
} // namespace workstation::store
