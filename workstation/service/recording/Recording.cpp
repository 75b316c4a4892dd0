// Records one source into one stream.
#include "service/recording/Recording.h"

#include <algorithm>
#include <exception>

#include "Failure.h"
#include "service/recording/SourceFactory.h"
#include "service/recording/SourceName.h"

namespace workstation::service::recording {
namespace {

// After so many bytes without a packet, a source is reported as no transport stream. It is then
// searched on slowly, so that a source that never ends takes little processor time.
constexpr std::uint64_t noStreamSize = 1 << 20;
constexpr std::chrono::milliseconds noStreamPause(10);

} // namespace

Recording::Recording(RecordingSettings settings, RecordingTarget& target, TickSource& ticks,
                     RecordingClock& clock, Report report, StopEvent const& stop,
                     RecordingStatus& status)
    : settings_(std::move(settings))
    , sourceName_(SourceName(settings_.source))
    , clock_(clock)
    , report_([prefix = "stream " + std::to_string(settings_.stream) + ": ",
               report = std::move(report)](std::string const& text, log::Severity severity) {
        report(prefix + text, severity);
    })
    , stop_(stop)
    , status_(status)
    , writer_(target, TickStamper(ticks), clock)
    , syncReport_(report_)
    , absence_(sourceName_, report_) {}

// Reports an operation that throws.
template <typename Operation>
void Recording::Attempt(std::string const& what, Operation operation) {
    try {
        operation();
    } catch (std::exception const& failure) {
        Fail(what + ": " + failure.what());
    }
}

// Reports what has ended the recording.
void Recording::Fail(std::string const& problem) {
    report_(problem, log::Severity::error);
    status_.HasProblem(problem);
}

void Recording::Run() {
    std::unique_ptr<Source> source;
    Attempt("cannot open " + sourceName_, [&] { source = MakeSource(settings_.source, stop_); });
    if (source) {
        Run(*source);
    } else {
        status_.HasEnded();
    }
}

void Recording::Run(Source& source) {
    Attempt("recording failed", [&] {
        if (IsFast(source)) {
            writer_.FollowStream();
        }
        if (source.GetKind() == Source::Kind::live) {
            RecordLive(source);
        } else {
            RecordToEnd(source);
        }
        writer_.Complete();
    });
    Attempt("recording failed", [&] { writer_.End(); });
    status_.HasEnded();
}

void Recording::RecordToEnd(Source& source) {
    bool const mayLoop = settings_.loops && source.GetKind() == Source::Kind::file;
    std::uint64_t packetsBefore = 0;
    do {
        packetsBefore = earlier_.packets;
        if (auto const reason = WhyNotBegun(source)) {
            Fail("cannot open " + sourceName_ + ": " + *reason);
            return;
        }
        Ending const ending = RecordOnce(source);
        if (ending.cause == Ending::Cause::failure) {
            Fail("cannot read " + sourceName_ + ": " + ending.reason);
        }
        if (ending.cause != Ending::Cause::end) {
            return;
        }
    } while (mayLoop && earlier_.packets > packetsBefore);
    ReportEnd();
}

// Records a live source, which is begun again whenever it goes, until the recording is to stop.
void Recording::RecordLive(Source& source) {
    status_.SourceIsLive();
    while (!stop_.IsSet()) {
        absence_.Begin(clock_.Now());
        status_.LiveSourceBegins();
        auto const reason = WhyNotBegun(source);
        Ending const ending = reason ? Ending{Ending::Cause::failure, *reason} : RecordOnce(source);
        if (ending.cause == Ending::Cause::stop) {
            return;
        }
        status_.LiveSourceIsGone();
        if (ending.cause == Ending::Cause::silence) {
            absence_.Silent(source.LastWords());
        } else {
            WaitUntil(clock_.Now() + absence_.Gone(ending.reason, source.LastWords()));
        }
        writer_.SourceRestarts();
    }
}

// Begins the source. The reason when that fails.
std::optional<std::string> Recording::WhyNotBegun(Source& source) {
    try {
        source.Begin();
        return std::nullopt;
    } catch (Failure const& failure) {
        return failure.what();
    }
}

// Records a source that has been begun.
Recording::Ending Recording::RecordOnce(Source& source) {
    PacketAssembler assembler;
    std::optional<Ending> ending;
    while (!ending) {
        std::uint64_t const packetsBefore = assembler.Counts().packets;
        ending = Read(source, assembler);
        Take(source, assembler);
        if (assembler.Counts().packets > packetsBefore) {
            absence_.HasPackets(clock_.Now());
        } else if (!ending && IsSilent(source)) {
            ending = Ending{Ending::Cause::silence, ""};
            assembler.End();
            Take(source, assembler);
        }
    }
    earlier_ = earlier_ + assembler.Counts();
    return *ending;
}

// Hands the next bytes of the source on. Null while there may be more.
std::optional<Recording::Ending> Recording::Read(Source& source, PacketAssembler& assembler) {
    Source::Result result{};
    try {
        result = source.Read(assembler.Room(), WaitMs(source));
    } catch (Failure const& failure) {
        assembler.End();
        return Ending{Ending::Cause::failure, failure.what()};
    }
    switch (result.outcome) {
    case Source::Outcome::bytes:
        assembler.Filled(result.size);
        return std::nullopt;
    case Source::Outcome::timeout:
        FlushWhenDue();
        return std::nullopt;
    case Source::Outcome::end:
        assembler.End();
        return Ending{Ending::Cause::end, "it has ended"};
    case Source::Outcome::stopped:
        assembler.End(); // the last packet is whole, if no more bytes are to come
        break;
    }
    return Ending{Ending::Cause::stop, ""};
}

// Only a file can be read fast.
bool Recording::IsFast(Source const& source) const {
    return source.GetKind() == Source::Kind::file && settings_.isFast;
}

bool Recording::IsSilent(Source const& source) const {
    return source.GetKind() == Source::Kind::live && clock_.Now() >= absence_.SilentAt();
}

void Recording::Take(Source const& source, PacketAssembler& assembler) {
    bool const isFile = source.GetKind() == Source::Kind::file;
    if (isFile) {
        TakeOfFile(source, assembler);
    } else {
        TakeAll(assembler);
    }
    WatchSync(source, assembler);
    bool const staysAway = source.GetKind() != Source::Kind::live;
    if (staysAway && !stop_.IsSet() && assembler.EndedInPacket() && !reportedEndInPacket_) {
        reportedEndInPacket_ = true;
        report_(sourceName_ + " stops in a packet", log::Severity::warning);
    }
}

// Also when the recording is to stop: what has been read from the source does not come again.
void Recording::TakeAll(PacketAssembler& assembler) {
    for (auto packets = assembler.Next(); !packets.empty(); packets = assembler.Next()) {
        Write(packets);
    }
}

void Recording::TakeOfFile(Source const& source, PacketAssembler& assembler) {
    for (auto packets = assembler.Next(); !packets.empty() && !stop_.IsSet();
         packets = assembler.Next()) {
        if (IsFast(source)) {
            Write(packets);
        } else {
            TakeInTime(packets);
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
        Write(packets.first(block.size));
        packets = packets.subspan(block.size);
    }
}

void Recording::Write(std::span<unsigned char const> packets) {
    status_.HasPackets(packets.size(), clock_.Now(), clock_.WallNow());
    writer_.Add(packets);
}

// Waits, and meanwhile writes what is due to be written.
void Recording::WaitUntil(RecordingClock::Time due) {
    while (clock_.Now() < due && !stop_.IsSet()) {
        auto const writeDue = writer_.Due();
        clock_.WaitUntil(writeDue ? std::min(due, *writeDue) : due);
        FlushWhenDue();
    }
}

void Recording::FlushWhenDue() {
    if (writer_.Due() && clock_.Now() >= *writer_.Due()) {
        writer_.Flush();
    }
}

// How long to wait for the source: until the packets taken so far must be written, or until a live
// source counts as gone; -1: no limit.
int Recording::WaitMs(Source const& source) const {
    auto due = writer_.Due();
    if (source.GetKind() == Source::Kind::live) {
        due = due ? std::min(*due, absence_.SilentAt()) : absence_.SilentAt();
    }
    if (!due) {
        return -1;
    }
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(*due - clock_.Now());
    return std::max(static_cast<int>(left.count()), 0);
}

void Recording::WatchSync(Source const& source, PacketAssembler const& assembler) {
    auto const counts = earlier_ + assembler.Counts() + SyncCounts{0, source.DroppedBytes(), 0};
    status_.HasDropped(counts.droppedBytes);
    syncReport_.Update(counts, assembler.InSync(), clock_.Now());
    if (assembler.InSync()) {
        droppedWhenInSync_ = counts.droppedBytes;
    } else if (counts.droppedBytes - droppedWhenInSync_ >= noStreamSize) {
        if (counts.packets == 0 && !reportedNoStream_) {
            reportedNoStream_ = true;
            report_("no transport stream in the first " + std::to_string(noStreamSize) +
                        " bytes of " + sourceName_,
                    log::Severity::warning);
        }
        clock_.WaitUntil(clock_.Now() + noStreamPause);
    }
}

void Recording::ReportEnd() {
    if (earlier_.packets == 0) {
        report_(sourceName_ + " is no transport stream", log::Severity::error);
        return;
    }
    syncReport_.Finish(earlier_);
    report_(sourceName_ + " has ended, " + std::to_string(earlier_.packets) +
                " packets recorded, " + std::to_string(earlier_.droppedBytes) + " bytes dropped",
            log::Severity::notice);
}

} // namespace workstation::service::recording
