// A timeline as a part of an HTML page.
#include "evidence/reporting/TimelineSvg.h"

#include <iomanip>
#include <sstream>

#include "LocalTime.h"
#include "evidence/Plural.h"

namespace workstation::evidence::reporting {
namespace {

using plotting::Extent;
using plotting::LabelPlace;
using plotting::Look;
using plotting::Timeline;

char const* ClassOf(Look look) {
    switch (look) {
    case Look::finished:
        return "finished";
    case Look::recording:
        return "recording";
    case Look::unknown:
        return "unknown";
    case Look::gap:
        return "gap";
    case Look::fault:
        return "fault";
    case Look::event:
        return "event";
    }
    return "";
}

class TimelineSvg {
public:
    TimelineSvg(Timeline const& timeline, std::vector<HeldEvent> const& events)
        : timeline_(timeline)
        , events_(events) {
        svg_ << std::fixed << std::setprecision(2);
    }

    Markup Write();

private:
    void WriteAxis();
    void WriteEvents();
    void WriteRows();
    void WriteBars();
    void WriteGaps();
    void WriteFaults();
    void WriteLegend();

    void Box(std::string const& look, Extent const& extent, double top, double bottom,
             std::string const& title = "");
    void Text(std::string const& look, double x, double y, std::string const& text);
    void Cross(double x, double y, std::string const& title = "");
    void BeginLink(std::string const& id, std::string const& name);
    void EndLink() { svg_ << "</a>\n"; }

    Timeline const& timeline_;
    std::vector<HeldEvent> const& events_;
    std::ostringstream svg_;
};

void TimelineSvg::Box(std::string const& look, Extent const& extent, double top, double bottom,
                      std::string const& title) {
    svg_ << "<rect class=\"" << look << "\" x=\"" << extent.begin << "\" y=\"" << top
         << "\" width=\"" << extent.Width() << "\" height=\"" << bottom - top << "\">";
    if (!title.empty()) {
        svg_ << "<title>" << XmlText(title) << "</title>";
    }
    svg_ << "</rect>";
}

void TimelineSvg::Text(std::string const& look, double x, double y, std::string const& text) {
    svg_ << "<text class=\"" << look << "\" x=\"" << x << "\" y=\"" << y + 4 << "\">"
         << XmlText(text) << "</text>\n";
}

void TimelineSvg::Cross(double x, double y, std::string const& title) {
    svg_ << "<path class=\"fault\" d=\"M" << x - 3 << " " << y - 3 << "l6 6m0-6l-6 6\">";
    if (!title.empty()) {
        svg_ << "<title>" << XmlText(title) << "</title>";
    }
    svg_ << "</path>";
}

void TimelineSvg::BeginLink(std::string const& id, std::string const& name) {
    svg_ << "<a href=\"#" << id << "\" aria-label=\"" << XmlText(name) << "\">";
}

void TimelineSvg::WriteAxis() {
    for (plotting::TimeMark const& mark : timeline_.marks) {
        double const place = timeline_.PlaceOf(static_cast<double>(mark.time));
        svg_ << "<path class=\"grid\" d=\"M" << place << " " << timeline_.lanesTop << "V"
             << timeline_.plotBottom << "\"/>\n";
        Text("middle", place, timeline_.plotBottom + 14, mark.label);
        if (!mark.date.empty()) {
            Text("middle", place, timeline_.plotBottom + 28, mark.date);
        }
    }
    if (timeline_.interval) {
        Text("begin", 8, timeline_.plotBottom + 14,
             plotting::ZoneOf(timeline_.interval->from, timeline_.interval->to));
    }
}

void TimelineSvg::WriteEvents() {
    for (plotting::TimelineEvent const& shown : timeline_.events) {
        store::Event const& event = shown.held->event;
        double const top = timeline_.LaneTop(shown.lane);
        double const bottom = top + std::max(timeline_.laneHeight - 2, 1.0);
        double const middle = (top + bottom) / 2;
        BeginLink(EventId(static_cast<std::size_t>(shown.held - events_.data())),
                  "event " + event.reid);
        Box("event", shown.extent, top, bottom,
            event.reid + ", " + LocalTime(event.startTime) + " to " + LocalTime(event.stopTime));
        if (shown.hasLabel) {
            Text("begin", shown.label, middle, event.reid);
        }
        EndLink();
        if (shown.beginsBefore && timeline_.HasArrows()) {
            Text("middle", shown.extent.begin - 5, middle, "\u25C2");
        }
        if (shown.endsAfter && timeline_.HasArrows()) {
            Text("middle", shown.extent.end + 5, middle, "\u25B8");
        }
    }
}

void TimelineSvg::WriteRows() {
    for (plotting::TimelineRow const& row : timeline_.rows) {
        Text("end", Timeline::plotBegin - 10, row.top + Timeline::barHeight / 2, row.name);
    }
}

void TimelineSvg::WriteBars() {
    for (plotting::TimelineBar const& bar : timeline_.bars) {
        plotting::TimelineRow const& row = timeline_.rows[bar.row];
        std::string const name = "slot " + std::to_string(bar.slot.slot);
        BeginLink(SlotId(bar.slot.slot), name);
        Box(std::string("slot ") + ClassOf(plotting::LookOf(bar.slot)) + (bar.isOdd ? " odd" : ""),
            bar.extent, row.top, row.top + Timeline::barHeight,
            name + ", " + LocalTime(bar.slot.ends->first.time) + " to " +
                LocalTime(bar.slot.ends->last.time));
        if (bar.number == LabelPlace::inside) {
            Text("middle inside", bar.extent.Middle(), row.top + Timeline::barHeight / 2,
                 std::to_string(bar.slot.slot));
        } else if (bar.number == LabelPlace::below) {
            Text("middle", bar.extent.Middle(), row.numbers, std::to_string(bar.slot.slot));
        }
        EndLink();
    }
}

void TimelineSvg::WriteGaps() {
    for (plotting::TimelineGap const& gap : timeline_.gaps) {
        double const top = timeline_.rows[gap.row].top;
        Box("gap", gap.extent, top - 2, top + Timeline::barHeight + 2,
            "gap, " + LocalTime(gap.gap.from) + " to " + LocalTime(gap.gap.to));
        svg_ << "<path class=\"pointer\" d=\"M" << gap.extent.Middle() - 4 << " " << top - 9
             << "h8l-4 6z\"/>\n";
    }
}

void TimelineSvg::WriteFaults() {
    for (plotting::TimelineFault const& fault : timeline_.faults) {
        if (fault.isShown) {
            std::string const name = Plural(fault.faults.count, "fault") + " in slot " +
                                     std::to_string(fault.faults.slot);
            BeginLink(SlotId(fault.faults.slot), name);
            Cross(fault.place, timeline_.rows[fault.row].faults, name);
            EndLink();
        }
    }
}

void TimelineSvg::WriteLegend() {
    constexpr double line = Timeline::legendLine;
    Text("begin", Timeline::plotBegin, Timeline::titleLine, timeline_.Title());
    svg_ << "<g class=\"legend\">\n";
    for (plotting::LegendEntry const& entry : timeline_.legend) {
        Extent const sample{entry.begin, entry.begin + Timeline::sampleWidth};
        if (entry.look == Look::fault) {
            Cross(sample.Middle(), line);
        } else {
            Box(ClassOf(entry.look), sample, line - 5, line + 5);
        }
        Text("begin", sample.end + 5, line, entry.text);
    }
    svg_ << "</g>\n";
}

Markup TimelineSvg::Write() {
    svg_ << "<svg role=\"group\" aria-label=\"Timeline\" viewBox=\"0 0 " << Timeline::width << " "
         << timeline_.height << "\">\n";
    WriteLegend();
    WriteAxis();
    WriteEvents();
    WriteRows();
    WriteBars();
    WriteGaps();
    WriteFaults();
    svg_ << "</svg>\n";
    return svg_.str();
}

} // namespace

std::string SlotId(int slot) {
    return "slot-" + std::to_string(slot);
}

std::string EventId(std::size_t index) {
    return "event-" + std::to_string(index + 1);
}

Markup SvgOf(Timeline const& timeline, std::vector<HeldEvent> const& events) {
    return TimelineSvg(timeline, events).Write();
}

} // namespace workstation::evidence::reporting
