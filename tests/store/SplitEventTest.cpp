// Events that are split into smaller ones.
#include "StoreTest.h"
#include "store/SplitGroups.h"

namespace workstation::store {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned int slotKiB = 96256;
constexpr unsigned int slotSize = slotKiB * 1024;

struct GroupsCase {
    std::vector<std::uint64_t> sizes;
    std::uint64_t limit;
    std::vector<std::size_t> groups;
};

class SplitGroupsTest : public testing::TestWithParam<GroupsCase> {};

TEST_P(SplitGroupsTest, AreFilledInOrderUpToTheLimit) {
    EXPECT_EQ(SplitGroups(GetParam().sizes, GetParam().limit), GetParam().groups);
}

constexpr std::uint64_t large = 1ULL << 40;

INSTANTIATE_TEST_SUITE_P(
    Sizes, SplitGroupsTest,
    testing::Values(GroupsCase{{}, 10, {}}, GroupsCase{{10}, 10, {1}}, GroupsCase{{11}, 10, {1}},
                    GroupsCase{{0}, 0, {1}}, GroupsCase{{0, 0, 0}, 0, {3}},
                    GroupsCase{{5, 5}, 10, {2}}, GroupsCase{{5, 6}, 10, {1, 1}},
                    GroupsCase{{5, 5, 1}, 10, {2, 1}}, GroupsCase{{1, 5, 5}, 10, {2, 1}},
                    GroupsCase{{10, 10, 10}, 10, {1, 1, 1}},
                    GroupsCase{{9, 2, 9, 1, 9}, 10, {1, 1, 2, 1}}, GroupsCase{{11, 11}, 10, {1, 1}},
                    GroupsCase{{0, 10, 0, 1}, 10, {3, 1}},
                    GroupsCase{{3, 3, 3, 3, 3, 3, 3}, 10, {3, 3, 1}},
                    GroupsCase{{large, large, large}, 2 * large, {2, 1}}));

class SplitEventTest : public StoreTest {
protected:
    Event MakeEvent(std::int64_t start, std::int64_t stop) {
        auto const event = store_.RecordAfterTheFact(start, stop, allStreams, stop);
        EXPECT_TRUE(event);
        return event.value_or(Event{});
    }

    std::vector<Event> Split(Event const& event, unsigned int maxSizeKiB) {
        return store_.SplitEvent(event.reid, maxSizeKiB).value_or(std::vector<Event>{});
    }
};

TEST_F(SplitEventTest, EventThatFitsStaysAsItIs) {
    RecordedFile const first = Record(1, 1, 100, 200, slotSize);
    RecordedFile const second = Record(1, 2, 200, 300, slotSize);
    Event const event = MakeEvent(100, 300);
    EXPECT_THAT(Split(event, 2 * slotKiB), ElementsAre(event));
    EXPECT_THAT(store_.Events(), ElementsAre(event));
    EXPECT_THAT(store_.FilesOf(event.reid), ElementsAre(first, second));
}

TEST_F(SplitEventTest, LargerEventIsReplacedByItsParts) {
    RecordedFile const first = Record(1, 1, 100, 200, slotSize);
    RecordedFile const second = Record(2, 2, 150, 250, slotSize);
    RecordedFile const third = Record(1, 3, 200, 300, slotSize);
    Event const event = MakeEvent(120, 280);
    EXPECT_TRUE(store_.SetTagsComplete(event.reid));
    auto const parts = Split(event, 2 * slotKiB + 1);
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0], (Event{parts[0].reid, 120, 250, 0x3, true, event.reid}));
    EXPECT_EQ(parts[1], (Event{parts[1].reid, 200, 280, 0x1, true, event.reid}));
    EXPECT_EQ(store_.Events(), parts);
    EXPECT_THAT(store_.FilesOf(parts[0].reid), ElementsAre(first, second));
    EXPECT_THAT(store_.FilesOf(parts[1].reid), ElementsAre(third));
    EXPECT_EQ(store_.FindEvent(event.reid), std::nullopt);
}

TEST_F(SplitEventTest, LimitIsExactToTheByte) {
    Record(1, 1, 100, 200, slotSize);
    Record(1, 2, 200, 300, 1024);
    Event const event = MakeEvent(100, 300);
    EXPECT_THAT(Split(event, slotKiB + 1), ElementsAre(event));
    EXPECT_TRUE(store_.UpdateFileSize(2, 1025));
    EXPECT_EQ(Split(event, slotKiB + 1).size(), 2U);
}

TEST_F(SplitEventTest, LargestLimitDoesNotWrap) {
    Record(1, 1, 100, 200, slotSize);
    Record(1, 2, 200, 300, slotSize);
    Event const event = MakeEvent(100, 300);
    EXPECT_THAT(Split(event, 0xFFFFFFFF), ElementsAre(event));
}

TEST_F(SplitEventTest, FileThatIsBeingRecordedCountsAsAWholeSlot) {
    Record(1, 1, 100, 200, 1);
    Begin(1, 2, 200);
    Event const event = MakeEvent(100, 260);
    EXPECT_THAT(Split(event, slotKiB + 1), ElementsAre(event));
    auto const parts = Split(event, slotKiB);
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[1], (Event{parts[1].reid, 200, 260, 0x1, false, event.reid}));
}

TEST_F(SplitEventTest, PartCanBeSplitAgain) {
    for (int number = 1; number <= 4; ++number) {
        std::int64_t const start = std::int64_t{100} * number;
        Record(1, number, start, start + 99, slotSize);
    }
    Event const event = MakeEvent(100, 499);
    auto const halves = Split(event, 2 * slotKiB);
    ASSERT_EQ(halves.size(), 2U);
    auto const quarters = Split(halves[0], slotKiB);
    ASSERT_EQ(quarters.size(), 2U);
    EXPECT_EQ(quarters[0], (Event{quarters[0].reid, 100, 199, 0x1, false, halves[0].reid}));
    EXPECT_THAT(store_.Events(), ElementsAre(halves[1], quarters[0], quarters[1]));
}

TEST_F(SplitEventTest, PartsHoldTheirFilesUntilTheyAreDeleted) {
    RecordedFile const first = Record(1, 1, 100, 200, slotSize);
    RecordedFile const second = Record(1, 2, 200, 300, slotSize);
    auto const parts = Split(MakeEvent(100, 300), slotKiB);
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_FALSE(store_.Wipe(first.id));
    EXPECT_TRUE(store_.DeleteEvent(parts[0].reid));
    EXPECT_TRUE(store_.Wipe(first.id));
    EXPECT_FALSE(store_.Wipe(second.id));
}

TEST_F(SplitEventTest, OtherEventsOfTheSameFilesStay) {
    Record(1, 1, 100, 200, slotSize);
    Record(1, 2, 200, 300, slotSize);
    Event const event = MakeEvent(100, 300);
    Event const other = MakeEvent(100, 300);
    auto const parts = Split(event, slotKiB);
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_THAT(store_.Events(), ElementsAre(other, parts[0], parts[1]));
    EXPECT_EQ(store_.FilesOf(other.reid).size(), 2U);
}

TEST_F(SplitEventTest, UnknownEventIsNothing) {
    EXPECT_EQ(store_.SplitEvent("20261121-023605:5f3a9c21", slotKiB), std::nullopt);
    EXPECT_THAT(store_.Events(), IsEmpty());
}

} // namespace
} // namespace workstation::store
