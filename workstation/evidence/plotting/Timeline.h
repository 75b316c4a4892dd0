// A timeline of a pool: what stands where, however it is drawn.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "evidence/Catalogue.h"
#include "evidence/FaultTimes.h"
#include "evidence/PoolListing.h"
#include "evidence/plotting/TimeAxis.h"

namespace workstation::evidence::plotting {

// What a timeline shows.
struct TimelineFacts {
    PoolContents const& contents;
    std::vector<HeldEvent> const& events;
    std::vector<FaultsAtOnce> const& faults;
};

// Where something begins and ends in the picture, in pixels from its left edge. Not narrower than
// can be seen.
struct Extent {
    double begin;
    double end;

    double Width() const { return end - begin; }
    double Middle() const { return (begin + end) / 2; }
};

enum class LabelPlace : std::uint8_t { nowhere, inside, below };

struct TimelineBar {
    ListedSlot slot;
    std::size_t row;
    Extent extent;
    LabelPlace number; // where there is room for it
    bool isOdd;        // neighbours in a row differ
};

struct TimelineGap {
    TimeGap gap;
    std::size_t row;
    Extent extent;
};

struct TimelineFault {
    FaultsAtOnce faults;
    std::size_t row;
    double place;
    bool isShown; // false where another mark of the row is at the same place
};

struct TimelineEvent {
    HeldEvent const* held;
    std::size_t lane;
    Extent extent;
    double label;      // where its label begins
    bool hasLabel;     // there is room for it
    bool beginsBefore; // the picture
    bool endsAfter;
};

// The looks of what is in a timeline.
enum class Look : std::uint8_t { finished, recording, unknown, gap, fault, event };

// Of a legend: a sample, and after it what it stands for.
struct LegendEntry {
    Look look;
    std::string text;
    double begin;
};

// The slots of a stream; without a number those whose stream is not known.
struct TimelineRow {
    std::string name;
    std::optional<unsigned int> stream;
    double top = 0; // of the bars
    bool hasFaults = false;
    bool hasNumbersBelow = false;
    double faults = 0;  // the middle of the marks
    double numbers = 0; // the middle of the numbers below
};

// All lengths are pixels, from the left or the upper edge.
struct Timeline {
    static constexpr double width = 1200;
    static constexpr double plotBegin = 92;
    static constexpr double plotEnd = 1160;
    static constexpr double barHeight = 28;
    static constexpr double labelSize = 11; // of the font
    static constexpr double axisHeight = 46;
    static constexpr double titleLine = 24; // the middle of its text
    static constexpr double legendLine = 48;
    static constexpr double sampleWidth = 14; // of the legend

    // The interval that is shown, in seconds since the epoch; `to` is after `from`. Null when
    // nothing has a time.
    struct Interval {
        std::int64_t from;
        std::int64_t to;
    };
    std::optional<Interval> interval;
    std::vector<TimeMark> marks;
    std::vector<TimelineRow> rows;
    std::vector<TimelineBar> bars; // of each row in the order of recording
    std::vector<TimelineGap> gaps;
    std::vector<TimelineFault> faults;
    std::vector<TimelineEvent> events;
    std::vector<LegendEntry> legend;   // of what there is
    std::vector<int> slotsWithoutTime; // that have data
    double laneHeight = 0;
    double lanesTop = 0;
    double plotTop = 0;
    double plotBottom = 0;
    double height = 0;

    // What is shown, in one line.
    std::string Title() const;

    // Whether there is room to point to where an event goes on.
    bool HasArrows() const { return laneHeight >= labelSize; }

    double PlaceOf(double time) const;
    double LaneTop(std::size_t lane) const {
        return lanesTop + static_cast<double>(lane) * laneHeight;
    }
};

// How a slot looks.
Look LookOf(ListedSlot const& slot);

// The facts must outlive the timeline.
Timeline LayOutTimeline(TimelineFacts const& facts);

} // namespace workstation::evidence::plotting
