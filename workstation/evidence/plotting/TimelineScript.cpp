// A timeline as gnuplot draws it.
#include "evidence/plotting/TimelineScript.h"

#include "evidence/Plural.h"
#include "evidence/plotting/Colours.h"
#include "evidence/plotting/Script.h"

namespace workstation::evidence::plotting {
namespace {

char const* ColourOf(Look look, bool isOdd) {
    switch (look) {
    case Look::finished:
        return isOdd ? colour::darkBlue : colour::blue;
    case Look::recording:
        return colour::green;
    case Look::unknown:
        return isOdd ? colour::darkGrey : colour::grey;
    case Look::gap:
        return colour::orange;
    case Look::fault:
        return colour::vermillion;
    case Look::event:
        return colour::purple;
    }
    return colour::black;
}

class TimelineScript {
public:
    explicit TimelineScript(Timeline const& timeline)
        : timeline_(timeline) {}

    Picture Write(PictureFormat format);

private:
    void WriteMarks();
    void WriteRows();
    void WriteSlots();
    void WriteGaps();
    void WriteFaults();
    void WriteEvents();
    void WriteLegend();

    Timeline const& timeline_;
    DataBlock marks_{"marks", "time x top bottom label"};
    DataBlock dates_{"dates", "x y date"};
    DataBlock rows_{"rows", "x y name"};
    DataBlock slots_{"slots",
                     "slot stream state bytes first_tick last_tick from to x1 x2 y1 y2 colour"};
    DataBlock numbers_{"numbers", "x y slot colour"};
    DataBlock gaps_{"gaps", "stream from to x1 x2 y1 y2"};
    DataBlock faults_{"faults", "slot kind time count x y shown"};
    DataBlock events_{"events", "reid from to x1 x2 y1 y2"};
    DataBlock eventLabels_{"event_labels", "x y reid"};
    DataBlock before_{"before", "x y: where an event begins before the picture"};
    DataBlock after_{"after", "x y: where an event ends after the picture"};
    DataBlock samples_{"samples", "x1 x2 y1 y2 colour"};
    DataBlock sampleFaults_{"sample_faults", "x y"};
    DataBlock texts_{"texts", "x y text"};
};

void TimelineScript::WriteMarks() {
    for (TimeMark const& mark : timeline_.marks) {
        Pixels const place{timeline_.PlaceOf(static_cast<double>(mark.time))};
        marks_ << mark.time << place << Pixels{timeline_.lanesTop} << Pixels{timeline_.plotBottom}
               << mark.label;
        marks_.EndRow();
        if (!mark.date.empty()) {
            dates_ << place << Pixels{timeline_.plotBottom + 28} << mark.date;
            dates_.EndRow();
        }
    }
}

void TimelineScript::WriteRows() {
    for (TimelineRow const& row : timeline_.rows) {
        rows_ << Pixels{Timeline::plotBegin - 10} << Pixels{row.top + Timeline::barHeight / 2}
              << row.name;
        rows_.EndRow();
    }
}

void TimelineScript::WriteSlots() {
    for (TimelineBar const& bar : timeline_.bars) {
        TimelineRow const& row = timeline_.rows[bar.row];
        ListedSlot const& slot = bar.slot;
        slots_ << slot.slot << slot.stream << Name(slot.state) << slot.bytes
               << slot.ends->first.tick << slot.ends->last.tick << slot.ends->first.time
               << slot.ends->last.time << Pixels{bar.extent.begin} << Pixels{bar.extent.end}
               << Pixels{row.top} << Pixels{row.top + Timeline::barHeight}
               << ColourOf(LookOf(slot), bar.isOdd);
        slots_.EndRow();
        if (bar.number == LabelPlace::nowhere) {
            continue;
        }
        bool const isInside = bar.number == LabelPlace::inside;
        numbers_ << Pixels{bar.extent.Middle()}
                 << Pixels{isInside ? row.top + Timeline::barHeight / 2 : row.numbers}
                 << std::to_string(slot.slot) << (isInside ? colour::white : colour::black);
        numbers_.EndRow();
    }
}

void TimelineScript::WriteGaps() {
    for (TimelineGap const& gap : timeline_.gaps) {
        TimelineRow const& row = timeline_.rows[gap.row];
        gaps_ << row.stream << gap.gap.from << gap.gap.to << Pixels{gap.extent.begin}
              << Pixels{gap.extent.end} << Pixels{row.top - 2}
              << Pixels{row.top + Timeline::barHeight + 2};
        gaps_.EndRow();
    }
}

void TimelineScript::WriteFaults() {
    for (TimelineFault const& fault : timeline_.faults) {
        faults_ << fault.faults.slot << Name(fault.faults.kind) << fault.faults.time
                << fault.faults.count << Pixels{fault.place}
                << Pixels{timeline_.rows[fault.row].faults} << fault.isShown;
        faults_.EndRow();
    }
}

void TimelineScript::WriteEvents() {
    for (TimelineEvent const& event : timeline_.events) {
        double const top = timeline_.LaneTop(event.lane);
        double const bottom = top + std::max(timeline_.laneHeight - 2, 1.0);
        Pixels const middle{(top + bottom) / 2};
        events_ << event.held->event.reid << event.held->event.startTime
                << event.held->event.stopTime << Pixels{event.extent.begin}
                << Pixels{event.extent.end} << Pixels{top} << Pixels{bottom};
        events_.EndRow();
        if (event.hasLabel) {
            eventLabels_ << Pixels{event.label} << middle << event.held->event.reid;
            eventLabels_.EndRow();
        }
        if (event.beginsBefore && timeline_.HasArrows()) {
            before_ << Pixels{event.extent.begin - 5} << middle;
            before_.EndRow();
        }
        if (event.endsAfter && timeline_.HasArrows()) {
            after_ << Pixels{event.extent.end + 5} << middle;
            after_.EndRow();
        }
    }
}

void TimelineScript::WriteLegend() {
    texts_ << Pixels{Timeline::plotBegin} << Pixels{Timeline::titleLine} << timeline_.Title();
    texts_.EndRow();
    constexpr double line = Timeline::legendLine;
    for (LegendEntry const& entry : timeline_.legend) {
        double const end = entry.begin + Timeline::sampleWidth;
        if (entry.look == Look::fault) {
            sampleFaults_ << Pixels{(entry.begin + end) / 2} << Pixels{line};
            sampleFaults_.EndRow();
        } else {
            samples_ << Pixels{entry.begin} << Pixels{end} << Pixels{line - 5} << Pixels{line + 5}
                     << ColourOf(entry.look, false);
            samples_.EndRow();
        }
        texts_ << Pixels{end + 5} << Pixels{line} << entry.text;
        texts_.EndRow();
    }
    if (timeline_.interval) {
        texts_ << Pixels{8} << Pixels{timeline_.plotBottom + 14}
               << ZoneOf(timeline_.interval->from, timeline_.interval->to);
        texts_.EndRow();
    }
}

Picture TimelineScript::Write(PictureFormat format) {
    WriteMarks();
    WriteRows();
    WriteSlots();
    WriteGaps();
    WriteFaults();
    WriteEvents();
    WriteLegend();

    PlotCommand plot;
    plot.Add("time", marks_,
             "using 2:3:(0):($4-$3) with vectors nohead lw 0.5 lc rgb " + InQuotes(colour::pale));
    plot.Add("events", events_, Boxes(4) + " fs solid noborder lc rgb " + InQuotes(colour::purple));
    plot.Add("slots", slots_, Boxes(9, 13) + " fs solid noborder lc rgb variable");
    plot.Add("gaps", gaps_,
             Boxes(4) + " fs solid 0.4 border lc rgb " + InQuotes(colour::vermillion) + " lc rgb " +
                 InQuotes(colour::orange));
    plot.Add("gap pointers", gaps_,
             "using (($4+$5)/2):($6-4)" + Points(11, 0.5, colour::vermillion));
    plot.Add("faults", faults_, "using ($7 > 0 ? $5 : NaN):6" + Points(2, 0.6, colour::vermillion));
    plot.Add("event begins before", before_, "using 1:2:(\"\\342\\227\\202\") with labels center");
    plot.Add("event ends after", after_, "using 1:2:(\"\\342\\226\\270\") with labels center");
    plot.Add("event names", eventLabels_, "using 1:2:3 with labels left");
    plot.Add("slot numbers", numbers_, "using 1:2:3:4 with labels center tc rgb variable");
    plot.Add("samples", samples_, Boxes(1, 5) + " fs solid noborder lc rgb variable");
    plot.Add("sample of a fault", sampleFaults_, "using 1:2" + Points(2, 0.6, colour::vermillion));
    plot.Add("streams", rows_, "using 1:2:3 with labels right");
    plot.Add("times", marks_, "using 2:($4+14):5 with labels center");
    plot.Add("dates", dates_, "using 1:2:3 with labels center");
    plot.Add("texts", texts_, "using 1:2:3 with labels left");

    std::string script = SetCanvas(format, Timeline::width, timeline_.height);
    for (DataBlock const* const block :
         {&marks_, &dates_, &rows_, &slots_, &numbers_, &gaps_, &faults_, &events_, &eventLabels_,
          &before_, &after_, &samples_, &sampleFaults_, &texts_}) {
        script += block->Text();
    }
    return {script + plot.Text(), timeline_.Title(), Describe(timeline_), plot.Parts()};
}

} // namespace

Picture PictureOf(Timeline const& timeline, PictureFormat format) {
    return TimelineScript(timeline).Write(format);
}

std::string Describe(Timeline const& timeline) {
    std::uint64_t faults = 0;
    for (TimelineFault const& fault : timeline.faults) {
        faults += fault.faults.count;
    }
    return Plural(timeline.bars.size(), "slot") + " in " + Plural(timeline.rows.size(), "row") +
           ", a row for each stream; " + PluralOrNo(timeline.gaps.size(), "gap") + ", " +
           PluralOrNo(timeline.events.size(), "event") + ", " + PluralOrNo(faults, "fault") + ".";
}

} // namespace workstation::evidence::plotting
