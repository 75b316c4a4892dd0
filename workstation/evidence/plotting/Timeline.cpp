// A timeline of a pool: what stands where, however it is drawn.
#include "evidence/plotting/Timeline.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>

#include "LocalTime.h"

namespace workstation::evidence::plotting {
namespace {

constexpr double headHeight = 64; // title and legend
constexpr double space = 10;
constexpr double smallestWidth = 2;
constexpr double smallestGapWidth = 3;
constexpr double distanceOfFaults = 3;
constexpr std::size_t mostRowsOfUnknown = 4;
constexpr double distanceOfMarks = 100;
constexpr double stripHeight = 14; // of fault marks, and of numbers below the bars
constexpr double characterWidth = 0.65 * Timeline::labelSize; // at most, of digits

// Events have labels as long as these lanes hold them.
constexpr std::size_t mostLanesWithLabels = 12;
constexpr double laneHeightWithLabels = 18;
constexpr double mostHeightOfLanes = 220;
constexpr double smallestLaneHeight = 3;

double TextWidth(std::size_t characters) {
    return static_cast<double>(characters) * characterWidth;
}

std::int64_t AsTime(std::int64_t time) { // an event's may be any number
    return std::clamp<std::int64_t>(time, std::numeric_limits<std::int32_t>::min(),
                                    std::numeric_limits<std::int32_t>::max());
}

// A clock may have been set back within a slot.
std::int32_t From(ListedSlot const& slot) {
    return std::min(slot.ends->first.time, slot.ends->last.time);
}

std::int32_t To(ListedSlot const& slot) {
    return std::max(slot.ends->first.time, slot.ends->last.time);
}

class TimelineBuilder {
public:
    explicit TimelineBuilder(TimelineFacts const& facts)
        : facts_(facts) {}

    Timeline Build();

private:
    void FindInterval();
    void AddRows();
    void AddRowsOfUnknown();
    void AddBars();
    void AddBar(ListedSlot const& slot);
    void AddGaps();
    void AddGap(std::size_t row, TimeGap const& gap);
    void AddFaults();
    void PlaceNumbers();
    void AddEvents();
    bool PlaceEvents(bool withLabels);
    void PlaceRows();
    void AddLegend();
    void AddLegend(Look look, std::string const& text, bool isThere);
    Extent ExtentOf(std::int64_t from, std::int64_t to, double smallest) const;

    TimelineFacts const& facts_;
    Timeline timeline_;
    std::map<unsigned int, std::size_t> rowOfStream_;
    std::map<int, std::size_t> rowOfSlot_; // of each that has a time
};

// That of the slots; without any, that of the events.
void TimelineBuilder::FindInterval() {
    std::int64_t from = std::numeric_limits<std::int64_t>::max();
    std::int64_t to = std::numeric_limits<std::int64_t>::min();
    for (ListedSlot const& slot : facts_.contents.slots) {
        if (slot.ends) {
            from = std::min<std::int64_t>(from, From(slot));
            to = std::max<std::int64_t>(to, To(slot));
        }
    }
    if (from > to) {
        for (HeldEvent const& held : facts_.events) {
            from = std::min(from, AsTime(held.event.startTime));
            to = std::max(to, AsTime(held.event.stopTime));
        }
    }
    if (from <= to) {
        timeline_.interval = {from, to + 1};
    }
}

void TimelineBuilder::AddRows() {
    for (ListedSlot const& slot : facts_.contents.slots) {
        if (slot.ends && slot.stream) {
            rowOfStream_[*slot.stream] = 0;
        } else if (!slot.ends && slot.bytes > 0) {
            timeline_.slotsWithoutTime.push_back(slot.slot);
        }
    }
    for (auto& [stream, row] : rowOfStream_) {
        row = timeline_.rows.size();
        timeline_.rows.push_back({"stream " + std::to_string(stream), stream});
    }
    for (ListedSlot const& slot : facts_.contents.slots) {
        if (slot.ends && slot.stream) {
            rowOfSlot_[slot.slot] = rowOfStream_.at(*slot.stream);
        }
    }
    AddRowsOfUnknown();
}

// Slots whose stream is not known may be of the same time: such ones have rows of their own, as far
// as there are streams.
void TimelineBuilder::AddRowsOfUnknown() {
    std::vector<ListedSlot const*> slots;
    for (ListedSlot const& slot : facts_.contents.slots) {
        if (slot.ends && !slot.stream) {
            slots.push_back(&slot);
        }
    }
    std::ranges::stable_sort(slots, {}, [](ListedSlot const* slot) { return From(*slot); });
    std::size_t const first = timeline_.rows.size();
    std::vector<std::int32_t> ends; // of each row
    for (ListedSlot const* const slot : slots) {
        auto place =
            std::ranges::find_if(ends, [&](std::int32_t end) { return end <= From(*slot); });
        if (place == ends.end() && ends.size() < mostRowsOfUnknown) {
            timeline_.rows.push_back({ends.empty() ? "not known" : "", std::nullopt});
            place = ends.insert(ends.end(), 0);
        } else if (place == ends.end()) {
            place = std::ranges::min_element(ends);
        }
        *place = To(*slot);
        rowOfSlot_[slot->slot] = first + static_cast<std::size_t>(place - ends.begin());
    }
}

// A second is drawn to its end, since a slot ends where the next one begins.
Extent TimelineBuilder::ExtentOf(std::int64_t from, std::int64_t to, double smallest) const {
    Extent extent{timeline_.PlaceOf(static_cast<double>(from)),
                  timeline_.PlaceOf(static_cast<double>(to))};
    if (extent.Width() < smallest) {
        extent.begin = std::min(extent.begin, Timeline::plotEnd - smallest);
        extent.end = extent.begin + smallest;
    }
    return extent;
}

void TimelineBuilder::AddBar(ListedSlot const& slot) {
    timeline_.bars.push_back({slot, rowOfSlot_.at(slot.slot),
                              ExtentOf(From(slot), std::int64_t{To(slot)} + 1, smallestWidth),
                              LabelPlace::nowhere, false});
}

void TimelineBuilder::AddBars() {
    std::set<int> added;
    auto const add = [&](ListedSlot const& slot) {
        if (slot.ends && added.insert(slot.slot).second) {
            AddBar(slot);
        }
    };
    for (ListedStream const& stream : facts_.contents.streams) {
        for (int const number : stream.slots) {
            add(facts_.contents.Slot(number));
        }
    }
    for (ListedSlot const& slot : facts_.contents.slots) {
        add(slot);
    }
}

void TimelineBuilder::AddGap(std::size_t row, TimeGap const& gap) {
    auto const [from, to] = std::minmax(gap.from, gap.to);
    std::int64_t const begin = std::min<std::int64_t>(std::int64_t{from} + 1, to);
    timeline_.gaps.push_back({gap, row, ExtentOf(begin, to, smallestGapWidth)});
}

void TimelineBuilder::AddGaps() {
    for (ListedStream const& stream : facts_.contents.streams) {
        for (TimeGap const& gap : stream.gaps) {
            AddGap(rowOfStream_.at(stream.stream), gap);
        }
    }
    for (SlotGap const& found : facts_.contents.gapsOfUnknown) {
        AddGap(rowOfSlot_.at(found.slot), found.gap);
    }
}

// What is before the first tick of a slot is shown at that tick; a slot without ticks has no place.
void TimelineBuilder::AddFaults() {
    for (FaultsAtOnce const& faults : facts_.faults) {
        ListedSlot const& slot = facts_.contents.Slot(faults.slot);
        if (!slot.ends) {
            continue;
        }
        std::size_t const row = rowOfSlot_.at(slot.slot);
        double const time = faults.time.value_or(slot.ends->first.time) + 0.5;
        timeline_.rows[row].hasFaults = true;
        timeline_.faults.push_back(
            {faults, row,
             std::clamp(timeline_.PlaceOf(time), Timeline::plotBegin, Timeline::plotEnd), false});
    }
    auto& marks = timeline_.faults;
    std::ranges::stable_sort(
        marks, {}, [](TimelineFault const& fault) { return std::pair(fault.row, fault.place); });
    TimelineFault const* shown = nullptr;
    for (TimelineFault& fault : marks) {
        fault.isShown = shown == nullptr || shown->row != fault.row ||
                        fault.place - shown->place >= distanceOfFaults;
        shown = fault.isShown ? &fault : shown;
    }
}

// In a bar if it is wide enough, else below it if the last number leaves room.
void TimelineBuilder::PlaceNumbers() {
    std::vector<TimelineBar*> bars;
    for (TimelineBar& bar : timeline_.bars) {
        bars.push_back(&bar);
    }
    std::ranges::stable_sort(
        bars, {}, [](TimelineBar const* bar) { return std::pair(bar->row, bar->extent.begin); });
    std::size_t row = 0;
    bool isOdd = false;
    double inside = 0; // the end of the last number in a bar
    double below = 0;  // and of the last one below
    for (TimelineBar* const bar : bars) {
        if (bar->row != row) {
            row = bar->row;
            isOdd = false;
            inside = below = 0;
        }
        bar->isOdd = isOdd;
        isOdd = !isOdd;
        double const width = TextWidth(std::to_string(bar->slot.slot).size());
        double const begin = bar->extent.Middle() - width / 2;
        if (bar->extent.Width() >= width + 6 && begin >= inside) {
            bar->number = LabelPlace::inside;
            inside = begin + width;
        } else if (begin >= below) {
            bar->number = LabelPlace::below;
            below = begin + width + 2 * space;
            timeline_.rows[row].hasNumbersBelow = true;
        }
    }
}

void TimelineBuilder::AddEvents() {
    if (!timeline_.interval) {
        return;
    }
    for (HeldEvent const& held : facts_.events) {
        auto const [first, last] = timeline_.interval.value();
        auto const from = AsTime(held.event.startTime);
        auto const to = AsTime(held.event.stopTime) + 1;
        TimelineEvent event{&held, 0, {}, 0, false, from<first, to> last};
        event.extent =
            ExtentOf(std::clamp(from, first, last), std::clamp(to, first, last), 2 * smallestWidth);
        timeline_.events.push_back(event);
    }
    std::ranges::stable_sort(timeline_.events, {},
                             [](TimelineEvent const& event) { return event.extent.begin; });
    if (!PlaceEvents(true)) {
        PlaceEvents(false);
    }
}

// Gives each event the first lane that has room. Returns false when there are too many for labels.
bool TimelineBuilder::PlaceEvents(bool withLabels) {
    std::vector<double> taken; // of each lane, the end
    for (TimelineEvent& event : timeline_.events) {
        double const labelWidth = TextWidth(event.held->event.reid.size()) + space;
        event.hasLabel = withLabels;
        event.label = std::max(std::min(event.extent.begin + 4, Timeline::plotEnd - labelWidth),
                               Timeline::plotBegin);
        double const begin =
            withLabels ? std::min(event.extent.begin, event.label) : event.extent.begin;
        double const end = withLabels ? std::max(event.extent.end, event.label + labelWidth)
                                      : event.extent.end + 1;
        auto const lane = std::ranges::find_if(taken, [&](double place) { return place <= begin; });
        event.lane = static_cast<std::size_t>(lane - taken.begin());
        if (lane == taken.end()) {
            taken.push_back(end);
        } else {
            *lane = end;
        }
        if (withLabels && taken.size() > mostLanesWithLabels) {
            return false;
        }
    }
    auto const lanes = static_cast<double>(std::max<std::size_t>(taken.size(), 1));
    timeline_.laneHeight = withLabels ? laneHeightWithLabels
                                      : std::clamp(mostHeightOfLanes / lanes, smallestLaneHeight,
                                                   laneHeightWithLabels);
    timeline_.plotTop =
        timeline_.lanesTop + static_cast<double>(taken.size()) * timeline_.laneHeight;
    return true;
}

void TimelineBuilder::PlaceRows() {
    double place = timeline_.plotTop + space;
    for (TimelineRow& row : timeline_.rows) {
        row.top = place;
        place += Timeline::barHeight;
        row.faults = place + stripHeight / 2;
        place += row.hasFaults ? stripHeight : 0;
        row.numbers = place + stripHeight / 2;
        place += (row.hasNumbersBelow ? stripHeight : 0) + space;
    }
    timeline_.plotBottom = place;
    timeline_.height = place + Timeline::axisHeight;
}

void TimelineBuilder::AddLegend(Look look, std::string const& text, bool isThere) {
    if (!isThere) {
        return;
    }
    auto& legend = timeline_.legend;
    double const begin = legend.empty() ? Timeline::plotBegin
                                        : legend.back().begin + Timeline::sampleWidth +
                                              TextWidth(legend.back().text.size()) + 2 * space;
    legend.push_back({look, text, begin});
}

void TimelineBuilder::AddLegend() {
    for (auto const& [look, text] :
         {std::pair(Look::finished, "slot"), std::pair(Look::recording, "slot being recorded"),
          std::pair(Look::unknown, "slot the database does not know")}) {
        AddLegend(look, text, std::ranges::any_of(timeline_.bars, [&](TimelineBar const& bar) {
                      return LookOf(bar.slot) == look;
                  }));
    }
    AddLegend(Look::gap, "gap", !timeline_.gaps.empty());
    AddLegend(Look::fault, "fault", !timeline_.faults.empty());
    AddLegend(Look::event, "event", !timeline_.events.empty());
}

Timeline TimelineBuilder::Build() {
    timeline_.lanesTop = timeline_.plotTop = headHeight;
    FindInterval();
    AddRows();
    AddBars();
    AddGaps();
    AddFaults();
    PlaceNumbers();
    AddEvents();
    PlaceRows();
    AddLegend();
    if (timeline_.interval) {
        constexpr auto most =
            static_cast<std::size_t>((Timeline::plotEnd - Timeline::plotBegin) / distanceOfMarks);
        timeline_.marks = TimeMarks(timeline_.interval->from, timeline_.interval->to, most);
    }
    return std::move(timeline_);
}

} // namespace

std::string Timeline::Title() const {
    return interval ? LocalTime(interval->from) + " to " + LocalTime(interval->to - 1)
                    : "Nothing that is recorded has a time";
}

Look LookOf(ListedSlot const& slot) {
    if (slot.state == SlotState::recording) {
        return Look::recording;
    }
    return slot.state == SlotState::unknown ? Look::unknown : Look::finished;
}

double Timeline::PlaceOf(double time) const {
    auto const from = static_cast<double>(interval->from);
    auto const length = static_cast<double>(interval->to - interval->from);
    return plotBegin + (time - from) / length * (plotEnd - plotBegin);
}

Timeline LayOutTimeline(TimelineFacts const& facts) {
    return TimelineBuilder(facts).Build();
}

} // namespace workstation::evidence::plotting
