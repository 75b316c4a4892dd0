// Records one source into one stream.
#include "service/recording/Recording.h"

#include <algorithm>
#include <exception>

namespace workstation::service::recording {
namespace {

// After so many bytes without a packet, a source is reported as no transport stream. It is then
// searched on slowly, so that a source that never ends takes little processor time.
constexpr std::uint64_t noStreamSize = 1 << 20;
constexpr std::chrono::milliseconds noStreamPause(10);

std::string NameOf(std::string const& source) {
    return source == "-" ? "standard input" : "'" + source + "'";
}

} // namespace

Recording::Recording(RecordingSettings settings, RecordingTarget& target, TickSource& ticks,
                     RecordingClock& clock, Report report, StopEvent const& stop)
    : settings_(std::move(settings))
    , sourceName_(NameOf(settings_.source))
    , clock_(clock)
    , report_([prefix = "stream " + std::to_string(settings_.stream) + ": ",
               report = std::move(report)](std::string const& text) { report(prefix + text); })
    , stop_(stop)
    , writer_(target, TickStamper(ticks), clock, stop)
    , syncReport_(report_) {}

// Reports an operation that throws.
template <typename Operation>
void Recording::Attempt(std::string const& what, Operation operation) {
    try {
        operation();
    } catch (std::exception const& failure) {
        report_(what + ": " + failure.what());
    }
}

void Recording::Run() {
    std::optional<Source> source;
    Attempt("cannot open " + sourceName_,
            [&] { source.emplace(Source::Open(settings_.source, stop_)); });
    if (!source) {
        return;
    }
    Attempt("recording failed", [&] { RecordSource(*source); });
    Attempt("recording failed", [&] { writer_.End(); });
}

void Recording::RecordSource(Source& source) {
    bool const mayLoop = settings_.loops && !source.IsLive();
    std::uint64_t packetsBefore = 0;
    while (RecordOnce(source)) {
        bool const hadPackets = earlier_.packets > packetsBefore;
        if (!mayLoop || !hadPackets) {
            ReportEnd();
            break;
        }
        packetsBefore = earlier_.packets;
        source.Rewind();
    }
    writer_.Complete();
}

// Records from where the source stands. True at its end; false when the recording is to stop, or
// when reading failed.
bool Recording::RecordOnce(Source& source) {
    PacketAssembler assembler;
    bool const isPaced = !source.IsLive() && !settings_.isFast;
    std::optional<Source::Result> result;
    do {
        result = Read(source, assembler);
        TakePackets(assembler, isPaced);
        WatchSync(assembler);
    } while (result && (result->outcome == Source::Outcome::bytes ||
                        result->outcome == Source::Outcome::timeout));
    earlier_ = earlier_ + assembler.Counts();
    return result && result->outcome == Source::Outcome::end;
}

// Hands the next bytes of the source on. Null when reading failed, which is reported.
std::optional<Source::Result> Recording::Read(Source& source, PacketAssembler& assembler) {
    std::optional<Source::Result> result;
    Attempt("cannot read " + sourceName_,
            [&] { result = source.Read(assembler.Room(), WaitMs()); });
    if (!result || result->outcome == Source::Outcome::end) {
        assembler.End();
    } else if (result->outcome == Source::Outcome::bytes) {
        assembler.Filled(result->size);
    } else if (result->outcome == Source::Outcome::timeout) {
        writer_.Flush();
    }
    return result;
}

void Recording::TakePackets(PacketAssembler& assembler, bool isPaced) {
    for (auto packets = assembler.Next(); !packets.empty() && !stop_.IsSet();
         packets = assembler.Next()) {
        if (isPaced) {
            TakeInTime(packets);
        } else {
            writer_.Add(packets);
        }
    }
}

void Recording::TakeInTime(std::span<unsigned char const> packets) {
    while (!packets.empty()) {
        auto const block = pacer_.Next(packets, clock_.Now());
        WaitUntil(block.due);
        if (stop_.IsSet()) {
            return;
        }
        writer_.Add(packets.first(block.size));
        packets = packets.subspan(block.size);
    }
}

// Waits, and meanwhile writes what is due to be written.
void Recording::WaitUntil(RecordingClock::Time due) {
    while (clock_.Now() < due && !stop_.IsSet()) {
        auto const writeDue = writer_.Due();
        clock_.WaitUntil(writeDue ? std::min(due, *writeDue) : due);
        if (writeDue && clock_.Now() >= *writeDue) {
            writer_.Flush();
        }
    }
}

// How long to wait for the source before the packets taken so far must be written; -1: no limit.
int Recording::WaitMs() const {
    if (!writer_.Due()) {
        return -1;
    }
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(*writer_.Due() - clock_.Now());
    return std::max(static_cast<int>(left.count()), 0);
}

void Recording::WatchSync(PacketAssembler const& assembler) {
    auto const counts = earlier_ + assembler.Counts();
    syncReport_.Update(counts, assembler.InSync(), clock_.Now());
    if (assembler.EndedInPacket() && !reportedEndInPacket_) {
        reportedEndInPacket_ = true;
        report_(sourceName_ + " stops in a packet");
    }
    if (assembler.InSync()) {
        droppedWhenInSync_ = counts.droppedBytes;
    } else if (counts.droppedBytes - droppedWhenInSync_ >= noStreamSize) {
        if (counts.packets == 0 && !reportedNoStream_) {
            reportedNoStream_ = true;
            report_("no transport stream in the first " + std::to_string(noStreamSize) +
                    " bytes of " + sourceName_);
        }
        clock_.WaitUntil(clock_.Now() + noStreamPause);
    }
}

void Recording::ReportEnd() {
    if (earlier_.packets == 0) {
        report_(sourceName_ + " is no transport stream");
        return;
    }
    syncReport_.Finish(earlier_);
    report_(sourceName_ + " has ended, " + std::to_string(earlier_.packets) +
            " packets recorded, " + std::to_string(earlier_.droppedBytes) + " bytes dropped");
}

} // namespace workstation::service::recording
