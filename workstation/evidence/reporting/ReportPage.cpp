// The page that reports what is in a pool.
#include "evidence/reporting/ReportPage.h"

#include <algorithm>
#include <iomanip>
#include <map>
#include <set>
#include <sstream>

#include "LocalTime.h"
#include "Version.h"
#include "evidence/ListReport.h"
#include "evidence/Plural.h"
#include "evidence/plotting/Timeline.h"
#include "evidence/plotting/TimelineScript.h"
#include "evidence/reporting/StyleSheet.h"
#include "evidence/reporting/TimelineSvg.h"
#include "pool/PoolLayout.h"

namespace workstation::evidence::reporting {
namespace {

constexpr std::size_t mostGaps = 2000;

std::string Megabits(std::uint64_t bitsPerSecond) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << static_cast<double>(bitsPerSecond) / 1e6;
    return text.str();
}

Markup Paragraph(std::string const& text) {
    return "<p>" + XmlText(text) + "</p>\n";
}

// "1 slot", or "no slot" in the words of a sentence.
Markup Heading(std::string const& id, std::string const& text) {
    return "<h2 id=\"" + id + "\">" + text + "</h2>\n";
}

std::string StreamName(std::optional<unsigned int> stream) {
    return stream ? std::to_string(*stream) : "";
}

class Page {
public:
    explicit Page(ReportFacts const& facts);

    std::string Write();

private:
    Markup Head() const;
    Markup Summary() const;
    Markup Picture() const;
    Markup Streams() const;
    Markup Gaps() const;
    Markup Damage() const;
    Markup DamagedSlots() const;
    Markup FaultList() const;
    Markup Events() const;
    Markup Recordings() const;
    Markup Slots() const;
    Markup Storage() const;
    Markup Versions() const;

    std::uint64_t GapCount() const;
    Markup EventLink(std::string const& reid) const;
    Markup SlotLinks(std::vector<int> const& slots) const;

    ReportFacts const& facts_;
    plotting::Timeline timeline_;
    std::map<int, SlotSummary const*> scanned_;
    std::map<std::string, std::size_t> eventIndex_; // by REID
    std::set<int> shownSlots_;                      // with a row of their own
};

Page::Page(ReportFacts const& facts)
    : facts_(facts)
    , timeline_(plotting::LayOutTimeline(
          {facts.contents, facts.catalogue.Events(), facts.scan.Faults()})) {
    for (ScannedSlot const& scanned : facts.scan.Slots()) {
        scanned_[scanned.slot] = &scanned.summary;
    }
    auto const& events = facts.catalogue.Events();
    for (std::size_t i = 0; i < events.size(); ++i) {
        eventIndex_.try_emplace(events[i].event.reid, i);
    }
    for (ListedSlot const& slot : facts.contents.slots) {
        if (slot.bytes > 0 || slot.state == SlotState::recording) {
            shownSlots_.insert(slot.slot);
        }
    }
}

std::uint64_t Page::GapCount() const {
    std::uint64_t count = facts_.contents.gapsOfUnknown.size();
    for (ListedStream const& stream : facts_.contents.streams) {
        count += stream.gaps.size();
    }
    return count;
}

Markup Page::EventLink(std::string const& reid) const {
    auto const found = eventIndex_.find(reid);
    return found == eventIndex_.end() ? XmlText(reid) : Link(EventId(found->second), reid);
}

Markup Page::SlotLinks(std::vector<int> const& slots) const {
    std::vector<Markup> links;
    links.reserve(slots.size());
    for (int const slot : slots) {
        std::string const number = std::to_string(slot);
        links.push_back(shownSlots_.contains(slot) ? Link(SlotId(slot), number) : number);
    }
    return Joined(links);
}

Markup Page::Head() const {
    return std::string("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                       "style-src 'unsafe-inline'; img-src data:\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<meta name=\"generator\" content=\"d2b ") +
           version + "\">\n<link rel=\"icon\" href=\"data:,\">\n<title>Recorder report: " +
           XmlText(timeline_.Title()) + "</title>\n<style>" + styleSheet + "</style>\n</head>\n";
}

Markup Page::Summary() const {
    Definitions summary;
    summary.Add("Pool", XmlText(facts_.pool));
    summary.Add("Event database", facts_.database
                                      ? XmlText(*facts_.database)
                                      : "none: streams, events and recordings are not known");
    summary.Add("Recorded interval",
                XmlText(timeline_.interval ? timeline_.Title() : "nothing with a time"));
    summary.Add("Made", "<span id=\"made\">" + XmlText(LocalTime(facts_.time)) + "</span>");
    summary.Add("Streams", Link("streams", PluralOrNo(facts_.contents.streams.size(), "stream") +
                                               ", " + PluralOrNo(GapCount(), "gap")));
    summary.Add("Slots", Link("slots", Grouped(shownSlots_.size()) + " of " +
                                           Grouped(facts_.contents.slots.size()) + " with data"));
    summary.Add("Events", Link("events", PluralOrNo(facts_.catalogue.Events().size(), "event")));
    bool const isSound = facts_.faults.Count() == 0 && facts_.damage.empty();
    summary.Add("Damage", std::string("<span class=\"") + (isSound ? "good" : "bad") + "\">" +
                              (isSound ? "no damage found"
                                       : Link("damage", facts_.damage.empty()
                                                            ? Plural(facts_.faults.Count(), "fault")
                                                            : "the pool is damaged; " +
                                                                  PluralOrNo(facts_.faults.Count(),
                                                                             "fault"))) +
                              "</span>");
    return "<h1>Recorder report</h1>\n" + summary.Html();
}

Markup Page::Picture() const {
    std::string text = plotting::Describe(timeline_);
    if (!timeline_.slotsWithoutTime.empty()) {
        text += " Not in the picture, since they have no ticks: " +
                Plural(timeline_.slotsWithoutTime.size(), "slot") + " with data.";
    }
    return Heading("timeline", "Timeline") +
           "<figure aria-describedby=\"timeline-text\">\n<p><a class=\"skip\" "
           "href=\"#streams\">Continue after the picture</a></p>\n<div class=\"scroll\" "
           "tabindex=\"0\" role=\"region\" "
           "aria-label=\"Timeline\">\n" +
           SvgOf(timeline_, facts_.catalogue.Events()) +
           "</div>\n<figcaption id=\"timeline-text\">" + XmlText(text) +
           " Slots and events lead to their rows in the tables, which hold all that the picture "
           "shows.</figcaption>\n</figure>\n";
}

Markup Page::Streams() const {
    Table table("Streams, with their slots in the order of recording",
                {{"Stream"}, {"From"}, {"To"}, {"Bytes", true}, {"Gaps", true}, {"Slots"}});
    for (ListedStream const& stream : facts_.contents.streams) {
        table.Add("stream-" + std::to_string(stream.stream),
                  {TextCell(std::to_string(stream.stream)),
                   TimeCell(stream.from),
                   TimeCell(stream.to),
                   CountCell(stream.bytes),
                   CountCell(stream.gaps.size()),
                   {SlotLinks(stream.slots)}});
    }
    return Heading("streams", "Streams") + table.Html("No stream is known.") + Gaps();
}

Markup Page::Gaps() const {
    Table table(
        "Gaps: where tick numbers are missing, or ticks in a row are more than a second apart",
        {{"Stream"}, {"Last tick before"}, {"First tick after"}, {"Seconds", true}});
    std::size_t count = 0;
    auto const add = [&](std::string const& stream, TimeGap const& gap) {
        if (count++ < mostGaps) {
            table.Add("", {TextCell(stream), TimeCell(gap.from), TimeCell(gap.to),
                           NumberCell(std::optional(std::int64_t{gap.to} - gap.from))});
        }
    };
    for (ListedStream const& stream : facts_.contents.streams) {
        for (TimeGap const& gap : stream.gaps) {
            add(std::to_string(stream.stream), gap);
        }
    }
    for (SlotGap const& found : facts_.contents.gapsOfUnknown) {
        add("not known", found.gap);
    }
    return "<h3 id=\"gaps\">Gaps</h3>\n" + table.Html("There is no gap.") +
           (count > mostGaps ? Paragraph("The first " + Grouped(mostGaps) + " of " +
                                         Grouped(count) + " gaps; d2b list streams shows all.")
                             : "");
}

Markup Page::DamagedSlots() const {
    Table table("Slots with faults", {{"Slot"}, {"Stream"}, {"From"}, {"To"}, {"Faults", true}});
    for (auto const& [slot, summary] : scanned_) {
        if (summary->faults > 0) {
            table.Add("", {{Link(SlotId(slot), std::to_string(slot))},
                           TextCell(StreamName(facts_.contents.Slot(slot).stream)),
                           TimeCell(summary->from),
                           TimeCell(summary->to),
                           CountCell(summary->faults)});
        }
    }
    return table.Html("No slot has a fault.");
}

Markup Page::FaultList() const {
    auto const& listed = facts_.faults.Listed();
    Table table("Faults; the time is that of the last tick before", {{"Slot"},
                                                                     {"Stream"},
                                                                     {"Kind"},
                                                                     {"Time"},
                                                                     {"Offset", true},
                                                                     {"Bytes", true},
                                                                     {"PID", true},
                                                                     {"Missing", true}});
    for (auto const& [slot, fault] : listed) {
        table.Add("", {{Link(SlotId(slot), std::to_string(slot))},
                       TextCell(StreamName(facts_.contents.Slot(slot).stream)),
                       TextCell(Name(fault.kind)),
                       TimeCell(fault.time),
                       NumberCell(std::optional(fault.offset)),
                       CountCell(fault.bytes),
                       NumberCell(fault.pid),
                       NumberCell(fault.missing)});
    }
    Markup html = table.Html("");
    if (listed.size() < facts_.faults.Count()) {
        html += Paragraph(Grouped(listed.size()) + " of " + Grouped(facts_.faults.Count()) +
                          " faults are listed here, at most " + Grouped(FirstFaults::mostOfSlot) +
                          " of a slot; d2b scan shows all of them.");
    }
    return html;
}

Markup Page::Damage() const {
    Markup html = Heading("damage", "Damage");
    for (std::string const& damage : facts_.damage) {
        html += "<p class=\"bad\">" + XmlText(damage) + "</p>\n";
    }
    if (facts_.faults.Count() == 0) {
        return html + Paragraph("No fault was found in " +
                                Plural(facts_.scan.Slots().size(), "slot") + " with data.");
    }
    Table kinds("Faults by kind", {{"Kind"}, {"Faults", true}});
    for (auto const& [kind, count] : facts_.faults.Counts()) {
        kinds.Add("", {TextCell(Name(kind)), CountCell(count)});
    }
    return html + kinds.Html("") + DamagedSlots() + FaultList();
}

Markup Page::Events() const {
    Table table("Events, in the order in which they were made", {{"Event"},
                                                                 {"From"},
                                                                 {"To"},
                                                                 {"Streams"},
                                                                 {"Slots"},
                                                                 {"Bytes", true},
                                                                 {"Tags"},
                                                                 {"Part of"}});
    auto const& events = facts_.catalogue.Events();
    for (std::size_t i = 0; i < events.size(); ++i) {
        store::Event const& event = events[i].event;
        std::vector<Markup> streams;
        for (unsigned int const stream : StreamsOf(event.streams)) {
            streams.push_back(std::to_string(stream));
        }
        table.Add(EventId(i),
                  {NameCell(XmlText(event.reid)),
                   TimeCell(event.startTime),
                   TimeCell(event.stopTime),
                   {Joined(streams)},
                   {SlotLinks(events[i].slots)},
                   CountCell(events[i].bytes),
                   TextCell(event.tagsComplete ? "complete" : "incomplete"),
                   NameCell(event.parent.empty() ? "&ndash;" : EventLink(event.parent))});
    }
    return Heading("events", "Events") + table.Html("There is no event.");
}

Markup Page::Recordings() const {
    Table table("Recordings, in the order in which they began",
                {{"Recording"}, {"Stream"}, {"From"}, {"To"}});
    for (store::RecordingRow const& recording : facts_.catalogue.Recordings()) {
        table.Add("", {NameCell(XmlText(recording.reid)),
                       TextCell(std::to_string(recording.stream)), TimeCell(recording.startTime),
                       recording.stopTime ? TimeCell(recording.stopTime) : Cell{"goes on"}});
    }
    return Heading("recordings", "Recordings") + table.Html("There is no recording.");
}

Markup Page::Slots() const {
    Table table("Slots with data", {{"Slot"},
                                    {"Stream"},
                                    {"State"},
                                    {"From"},
                                    {"To"},
                                    {"First tick", true},
                                    {"Last tick", true},
                                    {"Ticks", true},
                                    {"Bytes", true},
                                    {"Mbit/s", true},
                                    {"Faults", true},
                                    {"Events"}});
    for (int const number : shownSlots_) {
        ListedSlot const& slot = facts_.contents.Slot(number);
        auto const found = scanned_.find(number);
        SlotSummary const none;
        SlotSummary const& scanned = found == scanned_.end() ? none : *found->second;
        std::vector<Markup> events;
        for (std::string const& reid : facts_.catalogue.EventsOf(number)) {
            events.push_back(EventLink(reid));
        }
        auto const& ends = slot.ends;
        table.Add(SlotId(number),
                  {TextCell(std::to_string(number)),
                   TextCell(StreamName(slot.stream)),
                   TextCell(Name(slot.state)),
                   TimeCell(ends ? std::make_optional(ends->first.time) : std::nullopt),
                   TimeCell(ends ? std::make_optional(ends->last.time) : std::nullopt),
                   NumberCell(ends ? std::make_optional(ends->first.tick) : std::nullopt),
                   NumberCell(ends ? std::make_optional(ends->last.tick) : std::nullopt),
                   CountCell(scanned.ticks),
                   CountCell(slot.bytes),
                   {scanned.bitsPerSecond ? Megabits(*scanned.bitsPerSecond) : "&ndash;",
                    Cell::Kind::number},
                   CountCell(scanned.faults),
                   {Joined(events)}});
    }
    return Heading("slots", "Slots") + table.Html("No slot has data.");
}

Markup Page::Storage() const {
    std::uint64_t bytes = 0;
    std::uint64_t held = 0;
    std::uint64_t recording = 0;
    for (int const number : shownSlots_) {
        ListedSlot const& slot = facts_.contents.Slot(number);
        bytes += slot.bytes;
        held += facts_.catalogue.EventsOf(number).empty() ? 0U : 1U;
        recording += slot.state == SlotState::recording ? 1U : 0U;
    }
    std::uint64_t const slots = facts_.contents.slots.size();
    Definitions storage;
    storage.Add("Image", Grouped(facts_.imageSize) + " bytes");
    storage.Add("Slots", Grouped(slots) + " of " + Grouped(pool::poolSlotSize) + " bytes");
    storage.Add("Slots with data", Grouped(shownSlots_.size()));
    storage.Add("Free slots", Grouped(slots - shownSlots_.size()));
    storage.Add("Slots being recorded", Grouped(recording));
    storage.Add("Slots held by events", Grouped(held));
    storage.Add("Data", Grouped(bytes) + " bytes");
    return Heading("storage", "Storage") + storage.Html();
}

Markup Page::Versions() const {
    Definitions versions;
    versions.Add("d2b", version);
    versions.Add("Format of the pool", std::to_string(pool::poolFormatVersion));
    auto const database = facts_.catalogue.Version();
    versions.Add("Format of the event database", database ? std::to_string(*database) : "&ndash;");
    return Heading("versions", "Versions") + versions.Html();
}

std::string Page::Write() {
    Markup links;
    for (auto const& [id, name] :
         {std::pair("timeline", "Timeline"), std::pair("streams", "Streams"),
          std::pair("damage", "Damage"), std::pair("events", "Events"),
          std::pair("recordings", "Recordings"), std::pair("slots", "Slots"),
          std::pair("storage", "Storage"), std::pair("versions", "Versions")}) {
        links += "<li>" + Link(id, name) + "</li>\n";
    }
    return Head() + "<body>\n<header>\n" + Summary() +
           "<nav aria-label=\"Parts of this page\">\n<ul>\n" + links +
           "</ul>\n</nav>\n</header>\n<main>\n" + Picture() + Streams() + Damage() + Events() +
           Recordings() + Slots() + Storage() + Versions() + "</main>\n</body>\n</html>\n";
}

} // namespace

std::string ReportPage(ReportFacts const& facts) {
    return Page(facts).Write();
}

} // namespace workstation::evidence::reporting
