// What a scan prints: lines for people, or JSON.
#include "evidence/ScanReport.h"

#include <iomanip>
#include <sstream>
#include <vector>

#include "LocalTime.h"
#include "evidence/Json.h"
#include "evidence/Plural.h"

namespace workstation::evidence {
namespace {

std::string Describe(Fault const& fault) {
    std::ostringstream text;
    text << Name(fault.kind) << " at byte " << fault.offset;
    switch (fault.kind) {
    case FaultKind::continuity:
        text << ": PID " << *fault.pid << ", " << Plural(*fault.missing, "packet")
             << " missing (modulo 16)";
        break;
    case FaultKind::tick:
        text << ": " << Plural(*fault.missing, "tick") << " missing";
        break;
    case FaultKind::transportError:
        text << ": PID " << *fault.pid;
        break;
    case FaultKind::sync:
    case FaultKind::zeros:
    case FaultKind::unreadable:
        text << ": " << Plural(fault.bytes, "byte");
        break;
    }
    if (fault.time) {
        text << ", after " << LocalTime(*fault.time);
    }
    return text.str();
}

std::string Describe(SlotSummary const& slot) {
    std::ostringstream text;
    text << Plural(slot.bytes, "byte") << ", " << Plural(slot.packets, "packet") << ", ";
    if (slot.firstTick) {
        text << Plural(slot.ticks, "tick") << " (" << *slot.firstTick << " to " << *slot.lastTick
             << "), " << LocalTime(*slot.from) << " to " << LocalTime(*slot.to) << ", ";
    } else {
        text << "no ticks, ";
    }
    if (slot.bitsPerSecond) {
        text << std::fixed << std::setprecision(2) << static_cast<double>(*slot.bitsPerSecond) / 1e6
             << " Mbit/s, ";
    }
    text << PluralOrNo(slot.faults, "fault");
    return text.str();
}

class TextReport : public ScanReport {
public:
    explicit TextReport(std::ostream& out)
        : out_(out) {}

    void Add(int slot, Fault const& fault) override {
        out_ << "slot " << slot << ": " << Describe(fault) << "\n";
    }

    void End(int slot, SlotSummary const& summary) override { slots_.emplace_back(slot, summary); }

    void End() override {
        for (auto const& [slot, summary] : slots_) {
            out_ << "slot " << slot << ": " << Describe(summary) << "\n";
        }
        out_ << std::flush;
    }

private:
    std::ostream& out_;
    std::vector<std::pair<int, SlotSummary>> slots_;
};

// What follows the faults of a slot: its members without the opening brace.
std::string MembersOf(int slot, SlotSummary const& summary) {
    nlohmann::ordered_json const members = {
        {"slot", slot},
        {"bytes", summary.bytes},
        {"packets", summary.packets},
        {"ticks", summary.ticks},
        {"first_tick", OrNull(summary.firstTick)},
        {"last_tick", OrNull(summary.lastTick)},
        {"from", OrNull(summary.from)},
        {"to", OrNull(summary.to)},
        {"bits_per_second", OrNull(summary.bitsPerSecond)},
    };
    return members.dump().substr(1);
}

class JsonReport : public ScanReport {
public:
    explicit JsonReport(std::ostream& out)
        : out_(out) {
        out_ << "{\"slots\":[";
    }

    void Add(int /*slot*/, Fault const& fault) override {
        Begin();
        out_ << (hasFault_ ? ",\n" : "") << ToJson(fault).dump();
        hasFault_ = true;
        ++faults_;
    }

    void End(int slot, SlotSummary const& summary) override {
        Begin();
        out_ << "]," << MembersOf(slot, summary);
        isInSlot_ = false;
        hasSlot_ = true;
    }

    void End() override { out_ << "],\"faults\":" << faults_ << "}" << std::endl; }

private:
    void Begin() {
        if (!isInSlot_) {
            out_ << (hasSlot_ ? ",\n" : "") << "{\"faults\":[";
            isInSlot_ = true;
            hasFault_ = false;
        }
    }

    std::ostream& out_;
    std::uint64_t faults_ = 0;
    bool hasSlot_ = false;
    bool isInSlot_ = false;
    bool hasFault_ = false;
};

} // namespace

std::unique_ptr<ScanReport> MakeTextReport(std::ostream& out) {
    return std::make_unique<TextReport>(out);
}

std::unique_ptr<ScanReport> MakeJsonReport(std::ostream& out) {
    return std::make_unique<JsonReport>(out);
}

} // namespace workstation::evidence
