// The clock of a slot as gnuplot draws it.
#include "evidence/plotting/ClockScript.h"

#include <algorithm>
#include <cerrno>
#include <map>

#include "Failure.h"
#include "LocalTime.h"
#include "evidence/Plural.h"
#include "evidence/plotting/Colours.h"
#include "evidence/plotting/NumberAxis.h"
#include "evidence/plotting/Script.h"
#include "evidence/plotting/TimeAxis.h"
#include "pool/PoolLayout.h"

namespace workstation::evidence::plotting {
namespace {

constexpr double width = 1200;
constexpr double plotBegin = 110;
constexpr double plotEnd = 1160;
constexpr double tickGraphHeight = 240;
constexpr double rateGraphHeight = 180;
constexpr double axisHeight = 52;
constexpr double headHeight = 72;
constexpr double faultRowHeight = 16;
constexpr double smallestGapWidth = 3;
constexpr double distanceOfFaults = 3;
constexpr double bytesPerMegabyte = 1e6;
constexpr std::size_t mostMarksDown = 6;
constexpr std::size_t mostMarksAcross = 10;

// Values and where they are drawn, in pixels.
struct Scale {
    double from;
    double to;
    double begin;
    double end;

    double At(double value) const { return begin + (value - from) / (to - from) * (end - begin); }
};

// A graph and the rows of faults below it.
struct Graph {
    Scale across;
    Scale down;    // upwards: it begins at the lower edge
    double faults; // the upper edge of their rows
    double axis;   // the middle of the labels below
};

class ClockScript {
public:
    explicit ClockScript(SlotClock const& clock);

    Picture Write(PictureFormat format);

private:
    double FaultRow(Graph const& graph, FaultKind kind) const {
        return graph.faults + (static_cast<double>(faultRows_.at(kind)) + 0.5) * faultRowHeight;
    }
    bool IsShown(std::map<FaultKind, double>& last, FaultKind kind, double place) const;

    void LayOut();
    void WriteTicks();
    void WriteRates();
    void WriteGaps();
    void WriteFaults();
    void WriteAxes();
    void WriteMark(Graph const& graph, double place, std::string const& label);
    void WriteHead();
    void WriteText(double x, double y, std::string const& text);
    std::string Title() const;
    std::string Description() const;

    SlotClock const& clock_;
    std::map<FaultKind, std::size_t> faultRows_; // of the kinds that occur
    Graph ticksGraph_{};
    Graph ratesGraph_{};
    double height_ = 0;

    DataBlock ticks_{"ticks", "tick offset time x y"};
    DataBlock rates_{"rates", "from to bits_per_second x1 x2 y1 y2"};
    DataBlock gaps_{
        "gaps", "before_tick after_tick before_offset after_offset from to x y1 y2 x1 x2 y3 y4"};
    DataBlock faults_{"faults", "kind offset bytes pid missing time x1 y1 shown1 x2 y2 shown2"};
    DataBlock faultRowNames_{"fault_rows", "x y kind"};
    DataBlock grid_{"grid", "x y length_across length_down"};
    DataBlock marks_{"marks", "x y label"};
    DataBlock values_{"values", "x y label"};
    DataBlock texts_{"texts", "x y text"};
};

ClockScript::ClockScript(SlotClock const& clock)
    : clock_(clock) {
    for (Fault const& fault : clock.faults) {
        faultRows_[fault.kind] = 0;
    }
    std::size_t row = 0;
    for (auto& [kind, place] : faultRows_) {
        place = row++;
    }
    LayOut();
}

void ClockScript::LayOut() {
    auto const& ticks = clock_.ticks;
    auto const [lowest, highest] = std::ranges::minmax_element(ticks, {}, &PlacedTick::tick);
    auto const [first, last] = std::ranges::minmax_element(ticks, {}, &PlacedTick::time);
    std::uint64_t most = 1;
    for (ClockRate const& rate : clock_.rates) {
        most = std::max(most, rate.bitsPerSecond);
    }
    double const faultsHeight = static_cast<double>(faultRows_.size()) * faultRowHeight;
    auto const place = [&](double top, double graphHeight) {
        double const faults = top + graphHeight + (faultRows_.empty() ? 0 : 10);
        return Graph{{}, {0, 0, top + graphHeight, top}, faults, faults + faultsHeight + 14};
    };

    ticksGraph_ = place(headHeight, tickGraphHeight);
    ticksGraph_.across = {0, static_cast<double>(std::max<std::uint64_t>(clock_.summary.bytes, 1)),
                          plotBegin, plotEnd};
    ticksGraph_.down.from = lowest->tick;
    ticksGraph_.down.to = std::max<double>(highest->tick, ticksGraph_.down.from + 1);

    ratesGraph_ = place(ticksGraph_.axis + axisHeight, rateGraphHeight);
    ratesGraph_.across = {static_cast<double>(first->time), last->time + 1.0, plotBegin, plotEnd};
    ratesGraph_.down.to = static_cast<double>(most) * 1.1;
    height_ = ratesGraph_.axis + axisHeight - 20;
}

void ClockScript::WriteText(double x, double y, std::string const& text) {
    texts_ << Pixels{x} << Pixels{y} << text;
    texts_.EndRow();
}

void ClockScript::WriteTicks() {
    auto gap = clock_.gaps.begin();
    for (PlacedTick const& tick : clock_.ticks) {
        if (gap != clock_.gaps.end() && tick == gap->after) {
            ticks_.EndRow(); // an empty line ends the line that is drawn
            ++gap;
        }
        ticks_ << tick.tick << tick.offset << tick.time
               << Pixels{ticksGraph_.across.At(static_cast<double>(tick.offset))}
               << Pixels{ticksGraph_.down.At(tick.tick)};
        ticks_.EndRow();
    }
}

void ClockScript::WriteRates() {
    for (ClockRate const& rate : clock_.rates) {
        rates_ << rate.from << rate.to << rate.bitsPerSecond
               << Pixels{ratesGraph_.across.At(rate.from)} << Pixels{ratesGraph_.across.At(rate.to)}
               << Pixels{ratesGraph_.down.At(static_cast<double>(rate.bitsPerSecond))}
               << Pixels{ratesGraph_.down.begin};
        rates_.EndRow();
    }
}

void ClockScript::WriteGaps() {
    for (auto const& [before, after] : clock_.gaps) {
        auto const [from, to] = std::minmax(before.time, after.time);
        double const begin = ratesGraph_.across.At(std::min<double>(from + 1.0, to));
        double const end = std::max(ratesGraph_.across.At(to), begin + smallestGapWidth);
        gaps_ << before.tick << after.tick << before.offset << after.offset << before.time
              << after.time << Pixels{ticksGraph_.across.At(static_cast<double>(after.offset))}
              << Pixels{ticksGraph_.down.end} << Pixels{ticksGraph_.down.begin} << Pixels{begin}
              << Pixels{end} << Pixels{ratesGraph_.down.end} << Pixels{ratesGraph_.down.begin};
        gaps_.EndRow();
    }
}

// Of faults at the same place one is drawn.
bool ClockScript::IsShown(std::map<FaultKind, double>& last, FaultKind kind, double place) const {
    auto const [shown, isFirst] = last.try_emplace(kind, place);
    if (!isFirst && place - shown->second < distanceOfFaults) {
        return false;
    }
    shown->second = place;
    return true;
}

void ClockScript::WriteFaults() {
    std::map<FaultKind, double> lastAcross;
    std::map<FaultKind, double> lastInTime;
    for (Fault const& fault : clock_.faults) {
        double const across = ticksGraph_.across.At(static_cast<double>(fault.offset));
        faults_ << Name(fault.kind) << fault.offset << fault.bytes << fault.pid << fault.missing
                << fault.time << Pixels{across} << Pixels{FaultRow(ticksGraph_, fault.kind)}
                << IsShown(lastAcross, fault.kind, across);
        double const inTime =
            fault.time ? ratesGraph_.across.At(*fault.time + 0.5) : ratesGraph_.across.begin;
        faults_ << Pixels{inTime} << Pixels{FaultRow(ratesGraph_, fault.kind)}
                << (fault.time && IsShown(lastInTime, fault.kind, inTime));
        faults_.EndRow();
    }
    for (auto const& [kind, row] : faultRows_) {
        for (Graph const* const graph : {&ticksGraph_, &ratesGraph_}) {
            faultRowNames_ << Pixels{plotBegin - 8} << Pixels{FaultRow(*graph, kind)}
                           << std::string(Name(kind));
            faultRowNames_.EndRow();
        }
    }
}

void ClockScript::WriteMark(Graph const& graph, double place, std::string const& label) {
    grid_ << Pixels{place} << Pixels{graph.down.end} << 0
          << Pixels{graph.axis - 10 - graph.down.end};
    grid_.EndRow();
    marks_ << Pixels{place} << Pixels{graph.axis} << label;
    marks_.EndRow();
}

void ClockScript::WriteAxes() {
    for (auto const& [value, label] :
         NumberMarks(0, ticksGraph_.across.to / bytesPerMegabyte, mostMarksAcross)) {
        WriteMark(ticksGraph_, ticksGraph_.across.At(value * bytesPerMegabyte), label);
    }
    auto const from = static_cast<std::int64_t>(ratesGraph_.across.from);
    auto const to = static_cast<std::int64_t>(ratesGraph_.across.to);
    for (TimeMark const& mark : TimeMarks(from, to, mostMarksAcross)) {
        double const place = ratesGraph_.across.At(static_cast<double>(mark.time));
        WriteMark(ratesGraph_, place, mark.label);
        if (!mark.date.empty()) {
            marks_ << Pixels{place} << Pixels{ratesGraph_.axis + 15} << mark.date;
            marks_.EndRow();
        }
    }
    auto const writeValues = [&](Graph const& graph, double unit) {
        for (auto const& [value, label] :
             NumberMarks(graph.down.from / unit, graph.down.to / unit, mostMarksDown)) {
            double const place = graph.down.At(value * unit);
            grid_ << Pixels{plotBegin} << Pixels{place} << Pixels{plotEnd - plotBegin} << 0;
            grid_.EndRow();
            values_ << Pixels{plotBegin - 8} << Pixels{place} << label;
            values_.EndRow();
        }
    };
    writeValues(ticksGraph_, 1);
    writeValues(ratesGraph_, bytesPerMegabyte);
}

std::string ClockScript::Title() const {
    return pool::StreamFileName(clock_.slot) + ", " + LocalTime(*clock_.summary.from) + " to " +
           LocalTime(*clock_.summary.to);
}

std::string ClockScript::Description() const {
    return Plural(clock_.ticks.size(), "tick") + " over " + Plural(clock_.summary.bytes, "byte") +
           ", and the bit rate over time; " + PluralOrNo(clock_.gaps.size(), "gap") + ", " +
           PluralOrNo(clock_.faults.size(), "fault") + ".";
}

void ClockScript::WriteHead() {
    WriteText(plotBegin, 24, Title());
    WriteText(plotBegin, ticksGraph_.down.end - 16, "Tick number over offset in the slot, in MB");
    WriteText(plotBegin, ratesGraph_.down.end - 16,
              "Bit rate in Mbit/s over local time, " +
                  ZoneOf(clock_.ticks.front().time, clock_.ticks.back().time));
}

Picture ClockScript::Write(PictureFormat format) {
    WriteTicks();
    WriteRates();
    WriteGaps();
    WriteFaults();
    WriteAxes();
    WriteHead();

    PlotCommand plot;
    plot.Add("grid", grid_,
             "using 1:2:3:4 with vectors nohead lw 0.5 lc rgb " + InQuotes(colour::pale));
    plot.Add("gaps over offset", gaps_,
             "using 7:8:(0):($9-$8) with vectors nohead lw 2 dt (6,4) lc rgb " +
                 InQuotes(colour::vermillion));
    plot.Add("gap pointers", gaps_, "using 7:($8-4)" + Points(11, 0.5, colour::vermillion));
    plot.Add("lines between ticks", ticks_,
             "using 4:5 with lines lw 1.5 lc rgb " + InQuotes(colour::blue));
    plot.Add("ticks", ticks_, "using 4:5" + Points(7, 0.2, colour::darkBlue));
    plot.Add("bit rates", rates_,
             Boxes(4) + " fs solid 0.25 noborder lc rgb " + InQuotes(colour::blue));
    plot.Add("tops of bit rates", rates_,
             "using 4:6:($5-$4):(0) with vectors nohead lw 2 lc rgb " + InQuotes(colour::blue));
    plot.Add("gaps over time", gaps_,
             Boxes(10) + " fs solid 0.4 border lc rgb " + InQuotes(colour::vermillion) +
                 " lc rgb " + InQuotes(colour::orange));
    plot.Add("gap pointers over time", gaps_,
             "using (($10+$11)/2):($12-4)" + Points(11, 0.5, colour::vermillion));
    plot.Add("faults over offset", faults_,
             "using ($9 > 0 ? $7 : NaN):8" + Points(2, 0.6, colour::vermillion));
    plot.Add("faults over time", faults_,
             "using ($12 > 0 ? $10 : NaN):11" + Points(2, 0.6, colour::vermillion));
    plot.Add("kinds of faults", faultRowNames_, "using 1:2:3 with labels right");
    plot.Add("marks", marks_, "using 1:2:3 with labels center");
    plot.Add("values", values_, "using 1:2:3 with labels right");
    plot.Add("texts", texts_, "using 1:2:3 with labels left");

    std::string script = SetCanvas(format, width, height_);
    for (DataBlock const* const block : {&ticks_, &rates_, &gaps_, &faults_, &faultRowNames_,
                                         &grid_, &marks_, &values_, &texts_}) {
        script += block->Text();
    }
    return {script + plot.Text(), Title(), Description(), plot.Parts()};
}

} // namespace

Picture PictureOf(SlotClock const& clock, PictureFormat format) {
    if (clock.ticks.empty()) {
        throw Failure(ENODATA, pool::StreamFileName(clock.slot) + " has no ticks");
    }
    return ClockScript(clock).Write(format);
}

} // namespace workstation::evidence::plotting
