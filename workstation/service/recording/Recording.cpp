// Records one source into one stream.
#include "service/recording/Recording.h"

#include <algorithm>
#include <exception>
#include <system_error>

namespace workstation::service::recording {
namespace {

// So much without a packet is no transport stream. What follows is looked through slowly, so that a
// source that never ends takes no processor time to speak of.
constexpr std::uint64_t noStreamSize = 1 << 20;
constexpr std::chrono::milliseconds noStreamPause(10);

std::string Dropped(std::uint64_t size) {
    return std::to_string(size) + " bytes dropped";
}

} // namespace

Recording::Recording(RecordingSettings settings, RecordingTarget& target, TickSource& ticks,
                     RecordingClock& clock, Report report, StopEvent const& stop)
    : settings_(std::move(settings))
    , clock_(clock)
    , report_([prefix = "stream " + std::to_string(settings_.stream) + ": ",
               report = std::move(report)](std::string const& text) { report(prefix + text); })
    , stop_(stop)
    , writer_(target, TickStamper(ticks, settings_.stream), clock, stop)
    , syncReport_(report_) {}

void Recording::Run() {
    Attempt(&Recording::RecordSource);
    Attempt(&Recording::EndRecording);
}

void Recording::Attempt(void (Recording::*step)()) {
    try {
        (this->*step)();
    } catch (std::exception const& failure) {
        report_(std::string("recording failed: ") + failure.what());
    }
}

void Recording::RecordSource() {
    std::string error;
    auto source = Source::Open(settings_.source, error);
    if (!source) {
        report_("cannot open " + SourceName() + ": " + error);
        return;
    }
    bool const mayLoop = settings_.loops && !source->IsLive();
    std::uint64_t packetsBefore = 0;
    while (RecordOnce(*source) == Source::Outcome::end) {
        bool const hadPackets = earlier_.packets > packetsBefore;
        if (!mayLoop || !hadPackets) {
            ReportEnd();
            break;
        }
        packetsBefore = earlier_.packets;
        source->Rewind();
    }
    writer_.Complete();
}

void Recording::EndRecording() {
    writer_.End();
}

// Takes the source from its beginning to its end, or as far as it goes.
Source::Outcome Recording::RecordOnce(Source& source) {
    PacketAligner aligner;
    bool const isPaced = !source.IsLive() && !settings_.isFast;
    Source::Outcome outcome{};
    do {
        outcome = ReadMore(source, aligner);
        TakePackets(aligner, isPaced);
        WatchSync(aligner);
    } while (outcome == Source::Outcome::bytes || outcome == Source::Outcome::timeout);
    earlier_ = earlier_ + aligner.Counts();
    return outcome;
}

Source::Outcome Recording::ReadMore(Source& source, PacketAligner& aligner) {
    auto const result = source.Read(aligner.Room(), stop_, WaitMs());
    switch (result.outcome) {
    case Source::Outcome::bytes:
        aligner.Filled(result.size);
        break;
    case Source::Outcome::timeout:
        writer_.Flush();
        break;
    case Source::Outcome::failed:
        report_("cannot read " + SourceName() + ": " +
                std::generic_category().message(result.error));
        aligner.End();
        break;
    case Source::Outcome::end:
        aligner.End();
        break;
    case Source::Outcome::stopped:
        break;
    }
    return result.outcome;
}

void Recording::TakePackets(PacketAligner& aligner, bool isPaced) {
    for (auto packets = aligner.Next(); !packets.empty() && !stop_.IsSet();
         packets = aligner.Next()) {
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
        clock_.WaitUntil(writeDue ? std::min(due, *writeDue) : due, stop_);
        if (writeDue && clock_.Now() >= *writeDue) {
            writer_.Flush();
        }
    }
}

// How long the source may keep packets waiting that are to be written.
int Recording::WaitMs() const {
    if (!writer_.Due()) {
        return -1;
    }
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(*writer_.Due() - clock_.Now());
    return std::max(static_cast<int>(left.count()), 0);
}

void Recording::WatchSync(PacketAligner const& aligner) {
    auto const counts = earlier_ + aligner.Counts();
    syncReport_.Update(counts, aligner.InSync(), clock_.Now());
    if (aligner.EndedInPacket() && !saidEndedInPacket_) {
        saidEndedInPacket_ = true;
        report_(SourceName() + " stops in a packet");
    }
    if (aligner.InSync()) {
        droppedWhenInSync_ = counts.droppedBytes;
    } else if (counts.droppedBytes - droppedWhenInSync_ >= noStreamSize) {
        if (counts.packets == 0 && !saidNoStream_) {
            saidNoStream_ = true;
            report_("no transport stream in the first " + std::to_string(noStreamSize) +
                    " bytes of " + SourceName());
        }
        clock_.WaitUntil(clock_.Now() + noStreamPause, stop_);
    }
}

void Recording::ReportEnd() {
    if (earlier_.packets == 0) {
        report_(SourceName() + " is no transport stream");
        return;
    }
    syncReport_.Finish(earlier_);
    report_(SourceName() + " has ended, " + std::to_string(earlier_.packets) +
            " packets recorded, " + Dropped(earlier_.droppedBytes));
}

std::string Recording::SourceName() const {
    return settings_.source == "-" ? "standard input" : "'" + settings_.source + "'";
}

} // namespace workstation::service::recording
