// Records one source into one stream.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "service/recording/BlockWriter.h"
#include "service/recording/Pacer.h"
#include "service/recording/PacketAligner.h"
#include "service/recording/RecordingClock.h"
#include "service/recording/RecordingTarget.h"
#include "service/recording/Source.h"
#include "service/recording/SyncReport.h"

namespace workstation::service::recording {

struct RecordingSettings {
    int stream;          // 1 to 4
    std::string source;  // a path, or "-" for standard input
    bool isFast = false; // a file is read as fast as it can be, not in real time
    bool loops = false;  // a file is read again and again
};

// The way from the source to the target, in the thread that calls Run.
class Recording {
public:
    using Report = std::function<void(std::string const& text)>;

    // Says in `report`, one line each, what is to be known about the source.
    Recording(RecordingSettings settings, RecordingTarget& target, TickSource& ticks,
              RecordingClock& clock, Report report, StopEvent const& stop);

    // Records until the source has ended, `stop` is set, or something fails.
    void Run();

private:
    void Attempt(void (Recording::*step)());
    void RecordSource();
    Source::Outcome RecordOnce(Source& source);
    Source::Outcome ReadMore(Source& source, PacketAligner& aligner);
    void TakePackets(PacketAligner& aligner, bool isPaced);
    void TakeInTime(std::span<unsigned char const> packets);
    void WaitUntil(RecordingClock::Time due);
    int WaitMs() const;
    void WatchSync(PacketAligner const& aligner);
    void ReportEnd();
    void EndRecording();
    std::string SourceName() const;

    RecordingSettings settings_;
    RecordingClock& clock_;
    Report report_;
    StopEvent const& stop_;
    BlockWriter writer_;
    Pacer pacer_;
    SyncReport syncReport_;
    AlignmentCounts earlier_;             // of the times that a looping source was read before
    std::uint64_t droppedWhenInSync_ = 0; // bytes
    bool saidNoStream_ = false;
    bool saidEndedInPacket_ = false;
};

} // namespace workstation::service::recording
