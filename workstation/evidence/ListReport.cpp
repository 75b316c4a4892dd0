// What a list prints: aligned columns for people, or JSON.
#include "evidence/ListReport.h"

#include <iomanip>
#include <span>

#include "LocalTime.h"
#include "evidence/Json.h"

namespace workstation::evidence {
namespace {

using Kind = ListReport::Kind;

// Rows can come in thousands, so the widths are those of the longest values that are usual.
struct Column {
    char const* name;
    int width;
    bool isNumber; // to the right
};

constexpr int timeWidth = 24;
constexpr int reidWidth = 24;

constexpr Column slotColumns[] = {
    {"slot", 6, true},          {"stream", 6, true},      {"state", 9, false},
    {"bytes", 8, true},         {"first tick", 10, true}, {"last tick", 10, true},
    {"from", timeWidth, false}, {"to", timeWidth, false}, {"events", 0, false}};
constexpr Column streamColumns[] = {{"stream", 6, true},        {"bytes", 14, true},
                                    {"from", timeWidth, false}, {"to", timeWidth, false},
                                    {"gaps", 4, true},          {"slots", 0, false}};
constexpr Column eventColumns[] = {{"reid", reidWidth, false},   {"from", timeWidth, false},
                                   {"to", timeWidth, false},     {"streams", 7, false},
                                   {"bytes", 14, true},          {"tags", 10, false},
                                   {"parent", reidWidth, false}, {"slots", 0, false}};
constexpr Column recordingColumns[] = {
    {"reid", reidWidth, false}, {"stream", 6, true}, {"from", timeWidth, false}, {"to", 0, false}};

std::span<Column const> ColumnsOf(Kind kind) {
    switch (kind) {
    case Kind::slots:
        return slotColumns;
    case Kind::streams:
        return streamColumns;
    case Kind::events:
        return eventColumns;
    case Kind::recordings:
        return recordingColumns;
    }
    return {};
}

char const* NameOf(Kind kind) {
    switch (kind) {
    case Kind::slots:
        return "slots";
    case Kind::streams:
        return "streams";
    case Kind::events:
        return "events";
    case Kind::recordings:
        return "recordings";
    }
    return "";
}

std::string const nothing = "-";

template <typename Value>
std::string NumberOrNothing(std::optional<Value> const& value) {
    return value ? std::to_string(*value) : nothing;
}

template <typename Seconds>
std::string TimeOrNothing(std::optional<Seconds> const& seconds) {
    return seconds ? LocalTime(*seconds) : nothing;
}

std::string Joined(std::vector<std::string> const& words) {
    std::string text;
    for (std::string const& word : words) {
        text += (text.empty() ? "" : ",") + word;
    }
    return words.empty() ? nothing : text;
}

// "3-5,9,1": numbers in their order, with a dash where they count up by one.
template <typename Number>
std::string Runs(std::vector<Number> const& numbers) {
    std::vector<std::string> runs;
    for (std::size_t begin = 0; begin < numbers.size();) {
        std::size_t end = begin + 1;
        while (end < numbers.size() && numbers[end] == numbers[end - 1] + 1) {
            ++end;
        }
        std::string run = std::to_string(numbers[begin]);
        if (end - begin > 1) {
            run += "-" + std::to_string(numbers[end - 1]);
        }
        runs.push_back(run);
        begin = end;
    }
    return Joined(runs);
}

std::optional<std::int32_t> From(ListedSlot const& slot) {
    return slot.ends ? std::make_optional(slot.ends->first.time) : std::nullopt;
}

std::optional<std::int32_t> To(ListedSlot const& slot) {
    return slot.ends ? std::make_optional(slot.ends->last.time) : std::nullopt;
}

std::optional<std::uint32_t> FirstTick(ListedSlot const& slot) {
    return slot.ends ? std::make_optional(slot.ends->first.tick) : std::nullopt;
}

std::optional<std::uint32_t> LastTick(ListedSlot const& slot) {
    return slot.ends ? std::make_optional(slot.ends->last.tick) : std::nullopt;
}

class TextList : public ListReport {
public:
    TextList(Kind kind, std::ostream& out)
        : columns_(ColumnsOf(kind))
        , out_(out) {
        std::vector<std::string> names;
        for (Column const& column : columns_) {
            names.emplace_back(column.name);
        }
        Print(names);
    }

    void Add(ListedSlot const& slot, std::vector<std::string> const& events) override {
        Print({std::to_string(slot.slot), NumberOrNothing(slot.stream), Name(slot.state),
               std::to_string(slot.bytes), NumberOrNothing(FirstTick(slot)),
               NumberOrNothing(LastTick(slot)), TimeOrNothing(From(slot)), TimeOrNothing(To(slot)),
               Joined(events)});
    }

    void Add(ListedStream const& stream) override {
        Print({std::to_string(stream.stream), std::to_string(stream.bytes),
               TimeOrNothing(stream.from), TimeOrNothing(stream.to),
               stream.gaps.empty() ? nothing : std::to_string(stream.gaps.size()),
               Runs(stream.slots)});
        for (TimeGap const& gap : stream.gaps) {
            out_ << "        gap: " << LocalTime(gap.from) << " to " << LocalTime(gap.to) << "\n";
        }
    }

    void Add(HeldEvent const& held) override {
        store::Event const& event = held.event;
        Print({event.reid, LocalTime(event.startTime), LocalTime(event.stopTime),
               Runs(StreamsOf(event.streams)), std::to_string(held.bytes),
               event.tagsComplete ? "complete" : "incomplete",
               event.parent.empty() ? nothing : event.parent, Runs(held.slots)});
    }

    void Add(store::RecordingRow const& recording) override {
        Print({recording.reid, std::to_string(recording.stream), LocalTime(recording.startTime),
               TimeOrNothing(recording.stopTime)});
    }

    void End() override { out_ << std::flush; }

private:
    void Print(std::vector<std::string> const& cells) {
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            out_ << (i == 0 ? "" : "  ") << (columns_[i].isNumber ? std::right : std::left)
                 << std::setw(columns_[i].width) << cells[i];
        }
        out_ << "\n";
    }

    std::span<Column const> columns_;
    std::ostream& out_;
};

class JsonList : public ListReport {
public:
    JsonList(Kind kind, std::ostream& out)
        : out_(out) {
        out_ << "{\"" << NameOf(kind) << "\":[";
    }

    void Add(ListedSlot const& slot, std::vector<std::string> const& events) override {
        Print({{"slot", slot.slot},
               {"stream", OrNull(slot.stream)},
               {"state", Name(slot.state)},
               {"bytes", slot.bytes},
               {"first_tick", OrNull(FirstTick(slot))},
               {"last_tick", OrNull(LastTick(slot))},
               {"from", OrNull(From(slot))},
               {"to", OrNull(To(slot))},
               {"events", events}});
    }

    void Add(ListedStream const& stream) override {
        auto gaps = nlohmann::ordered_json::array();
        for (TimeGap const& gap : stream.gaps) {
            gaps.push_back({{"from", gap.from}, {"to", gap.to}});
        }
        Print({{"stream", stream.stream},
               {"slots", stream.slots},
               {"bytes", stream.bytes},
               {"from", OrNull(stream.from)},
               {"to", OrNull(stream.to)},
               {"gaps", gaps}});
    }

    void Add(HeldEvent const& held) override {
        store::Event const& event = held.event;
        Print({{"reid", event.reid},
               {"from", event.startTime},
               {"to", event.stopTime},
               {"streams", StreamsOf(event.streams)},
               {"slots", held.slots},
               {"bytes", held.bytes},
               {"tags_complete", event.tagsComplete},
               {"parent", event.parent}});
    }

    void Add(store::RecordingRow const& recording) override {
        Print({{"reid", recording.reid},
               {"stream", recording.stream},
               {"from", recording.startTime},
               {"to", OrNull(recording.stopTime)}});
    }

    void End() override { out_ << "]}" << std::endl; }

private:
    void Print(nlohmann::ordered_json const& row) {
        out_ << (hasRow_ ? ",\n" : "") << row.dump(-1, ' ', false, replaceInvalid);
        hasRow_ = true;
    }

    // A damaged database may have any bytes in a text.
    static constexpr auto replaceInvalid = nlohmann::ordered_json::error_handler_t::replace;

    std::ostream& out_;
    bool hasRow_ = false;
};

} // namespace

std::unique_ptr<ListReport> MakeTextList(ListReport::Kind kind, std::ostream& out) {
    return std::make_unique<TextList>(kind, out);
}

std::unique_ptr<ListReport> MakeJsonList(ListReport::Kind kind, std::ostream& out) {
    return std::make_unique<JsonList>(kind, out);
}

std::vector<unsigned int> StreamsOf(unsigned int mask) {
    std::vector<unsigned int> streams;
    for (unsigned int stream = 1; mask != 0; ++stream, mask >>= 1U) {
        if ((mask & 1U) != 0) {
            streams.push_back(stream);
        }
    }
    return streams;
}

} // namespace workstation::evidence
