// Where a timeline has its bars, labels and marks.
#include "evidence/plotting/Timeline.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace workstation::evidence::plotting {
namespace {

class TimelineTest : public testing::Test {
protected:
    TimelineTest() { setenv("TZ", "UTC", 1); }
    ~TimelineTest() override { unsetenv("TZ"); }

    // The next slot. Without a stream it is not known which one it is of.
    void Slot(std::optional<unsigned int> stream, std::int32_t from, std::int32_t to) {
        int const number = static_cast<int>(contents.slots.size()) + 1;
        contents.slots.push_back({.slot = number,
                                  .state = stream ? SlotState::finished : SlotState::unknown,
                                  .stream = stream,
                                  .bytes = 1000,
                                  .ends = SlotEnds{{0, 1, from}, {500, 2, to}}});
        if (stream) {
            for (auto next = contents.streams.size(); next < *stream; ++next) {
                contents.streams.emplace_back().stream = static_cast<unsigned int>(next) + 1;
            }
            contents.streams[*stream - 1].slots.push_back(number);
        }
    }

    void Gap(unsigned int stream, std::int32_t from, std::int32_t to) {
        contents.streams[stream - 1].gaps.push_back({from, to});
    }

    void Event(std::int64_t from, std::int64_t to) {
        HeldEvent& held = events.emplace_back();
        held.event.reid = "20260101-000000:0000000" + std::to_string(events.size() % 10);
        held.event.startTime = from;
        held.event.stopTime = to;
    }

    Timeline Made() const { return LayOutTimeline({contents, events, faults}); }

    static void ExpectInPicture(Extent const& extent, double smallest) {
        EXPECT_GE(extent.Width(), smallest - 0.001);
        EXPECT_GE(extent.begin, Timeline::plotBegin - 0.001);
        EXPECT_LE(extent.end, Timeline::plotEnd + 0.001);
    }

    PoolContents contents;
    std::vector<HeldEvent> events;
    std::vector<FaultsAtOnce> faults;
};

TEST_F(TimelineTest, EmptyPoolHasNoTime) {
    auto const timeline = Made();
    EXPECT_FALSE(timeline.interval);
    EXPECT_TRUE(timeline.rows.empty());
    EXPECT_TRUE(timeline.marks.empty());
    EXPECT_EQ(timeline.Title(), "Nothing that is recorded has a time");
}

TEST_F(TimelineTest, SlotEndsWhereTheNextBegins) {
    Slot(1, 100, 109);
    Slot(1, 110, 119);
    auto const timeline = Made();
    ASSERT_EQ(timeline.bars.size(), 2U);
    EXPECT_DOUBLE_EQ(timeline.bars[0].extent.begin, Timeline::plotBegin);
    EXPECT_DOUBLE_EQ(timeline.bars[0].extent.end, timeline.bars[1].extent.begin);
    EXPECT_DOUBLE_EQ(timeline.bars[1].extent.end, Timeline::plotEnd);
    EXPECT_NE(timeline.bars[0].isOdd, timeline.bars[1].isOdd);
    EXPECT_EQ(timeline.bars[0].number, LabelPlace::inside);
}

TEST_F(TimelineTest, GapOfOneTickInYearsIsSeen) {
    Slot(1, 0, 1000);
    Slot(1, 1000, 2000000000);
    Gap(1, 1000, 1000);
    auto const timeline = Made();
    ASSERT_EQ(timeline.gaps.size(), 1U);
    ExpectInPicture(timeline.gaps[0].extent, 3);
    ExpectInPicture(timeline.bars[0].extent, 2);
}

TEST_F(TimelineTest, GapAtTheEndLiesInThePicture) {
    Slot(1, 0, 1000000);
    Gap(1, 999999, 1000000);
    ExpectInPicture(Made().gaps.at(0).extent, 3);
}

TEST_F(TimelineTest, SlotsWithoutTimeAreNamed) {
    Slot(1, 0, 10);
    contents.slots.push_back(
        {.slot = 2, .state = SlotState::unknown, .stream = {}, .bytes = 5, .ends = {}});
    contents.slots.push_back(
        {.slot = 3, .state = SlotState::free, .stream = {}, .bytes = 0, .ends = {}});
    auto const timeline = Made();
    EXPECT_EQ(timeline.slotsWithoutTime, std::vector<int>{2});
    EXPECT_EQ(timeline.bars.size(), 1U);
}

TEST_F(TimelineTest, UnknownSlotsOfTheSameTimeLieInDifferentRows) {
    Slot(1, 0, 10);
    Slot({}, 0, 10);
    Slot({}, 5, 15);
    Slot({}, 10, 20);
    auto const timeline = Made();
    ASSERT_EQ(timeline.rows.size(), 3U);
    EXPECT_EQ(timeline.rows[1].name, "not known");
    EXPECT_EQ(timeline.rows[2].name, "");
    std::vector<std::size_t> rows;
    for (TimelineBar const& bar : timeline.bars) {
        rows.push_back(bar.row);
    }
    EXPECT_EQ(rows, (std::vector<std::size_t>{0, 1, 2, 1}));
}

TEST_F(TimelineTest, NumbersNeverOverlap) {
    for (int i = 0; i < 2000; ++i) {
        Slot(1, i * 10, i * 10 + 9);
    }
    auto const timeline = Made();
    double taken = 0;
    int numbers = 0;
    for (TimelineBar const& bar : timeline.bars) {
        ASSERT_NE(bar.number, LabelPlace::inside);
        if (bar.number == LabelPlace::below) {
            EXPECT_GE(bar.extent.Middle() - 14, taken);
            taken = bar.extent.Middle() + 14;
            ++numbers;
        }
    }
    EXPECT_GT(numbers, 10);
    EXPECT_TRUE(timeline.rows[0].hasNumbersBelow);
}

TEST_F(TimelineTest, EventsOfTheSameTimeLieInDifferentLanes) {
    Slot(1, 0, 1000);
    Event(100, 300);
    Event(200, 400);
    Event(700, 800);
    auto const timeline = Made();
    ASSERT_EQ(timeline.events.size(), 3U);
    EXPECT_EQ(timeline.events[0].lane, 0U);
    EXPECT_EQ(timeline.events[1].lane, 1U);
    EXPECT_EQ(timeline.events[2].lane, 0U);
    for (TimelineEvent const& event : timeline.events) {
        EXPECT_TRUE(event.hasLabel);
    }
}

TEST_F(TimelineTest, ManyEventsHaveNoLabelsAndTakeLittleRoom) {
    Slot(1, 0, 1000);
    for (int i = 0; i < 70; ++i) {
        Event(i, 500 + i);
    }
    auto const timeline = Made();
    for (TimelineEvent const& event : timeline.events) {
        EXPECT_FALSE(event.hasLabel);
        ExpectInPicture(event.extent, 4);
    }
    EXPECT_LT(timeline.height, 500);
}

TEST_F(TimelineTest, EventBeyondThePicturePointsThere) {
    Slot(1, 1000, 2000);
    Event(0, 1500);
    Event(1500, INT64_MAX);
    Event(0, 1); // of what was recorded over
    auto const timeline = Made();
    EXPECT_EQ(timeline.interval->from, 1000);
    for (TimelineEvent const& event : timeline.events) {
        ExpectInPicture(event.extent, 4);
        EXPECT_EQ(event.beginsBefore, event.held->event.startTime == 0);
        EXPECT_EQ(event.endsAfter, event.held->event.stopTime > 2000);
        EXPECT_LE(event.label + 24 * 7, Timeline::plotEnd);
    }
}

TEST_F(TimelineTest, FaultsAtOnePlaceHaveOneMark) {
    Slot(1, 0, 1000000);
    for (std::int32_t const time : {10, 11, 12, 500000}) {
        faults.push_back({1, FaultKind::sync, time, 3});
    }
    faults.push_back({1, FaultKind::zeros, {}, 1}); // before the first tick
    auto const timeline = Made();
    ASSERT_EQ(timeline.faults.size(), 5U);
    int shown = 0;
    for (TimelineFault const& fault : timeline.faults) {
        shown += fault.isShown ? 1 : 0;
    }
    EXPECT_EQ(shown, 2);
    EXPECT_TRUE(timeline.rows[0].hasFaults);
}

// The database was read before the recording began it.
TEST_F(TimelineTest, SlotThatTheStreamsDoNotHaveYetHasABar) {
    Slot(1, 0, 9);
    Slot(1, 10, 19);
    contents.streams[0].slots.pop_back();
    auto const timeline = Made();
    ASSERT_EQ(timeline.bars.size(), 2U);
    EXPECT_EQ(timeline.bars[1].row, 0U);
}

TEST_F(TimelineTest, ClockThatWasSetBackHasABar) {
    Slot(1, 500, 100);
    Slot(1, 100, 200);
    auto const timeline = Made();
    EXPECT_EQ(timeline.interval->from, 100);
    for (TimelineBar const& bar : timeline.bars) {
        ExpectInPicture(bar.extent, 2);
    }
}

} // namespace
} // namespace workstation::evidence::plotting
