// Records one source into one stream.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "service/recording/Absence.h"
#include "service/recording/BlockWriter.h"
#include "service/recording/PacketAssembler.h"
#include "service/recording/RealTimePacer.h"
#include "service/recording/RecordingClock.h"
#include "service/recording/RecordingSettings.h"
#include "service/recording/RecordingStatus.h"
#include "service/recording/RecordingTarget.h"
#include "service/recording/Report.h"
#include "service/recording/Source.h"
#include "service/recording/SyncReport.h"

namespace workstation::service::recording {

// The way from the source to the target, in the thread that calls Run.
class Recording {
public:
    // What is passed by reference outlives the recording.
    Recording(RecordingSettings settings, RecordingTarget& target, TickSource& ticks,
              RecordingClock& clock, Report report, StopEvent const& stop, RecordingStatus& status);

    // Records until the source ends for good, the recording is to stop, or something fails, which
    // is reported. Throws nothing.
    void Run();

    // The same from a source other than that of the settings.
    void Run(Source& source);

private:
    // Why a source that was begun is read no longer.
    struct Ending {
        enum class Cause { end, failure, silence, stop };
        Cause cause;
        std::string reason; // of an end or a failure
    };

    template <typename Operation>
    void Attempt(std::string const& what, Operation operation);
    void Fail(std::string const& problem);
    void RecordToEnd(Source& source);
    void RecordLive(Source& source);
    static std::optional<std::string> WhyNotBegun(Source& source);
    Ending RecordOnce(Source& source);
    std::optional<Ending> Read(Source& source, PacketAssembler& assembler);
    bool IsFast(Source const& source) const;
    bool IsSilent(Source const& source) const;
    void Take(Source const& source, PacketAssembler& assembler);
    void TakeAll(PacketAssembler& assembler);
    void TakeOfFile(Source const& source, PacketAssembler& assembler);
    void TakeInTime(std::span<unsigned char const> packets);
    void Write(std::span<unsigned char const> packets);
    void WaitUntil(RecordingClock::Time due);
    void FlushWhenDue();
    int WaitMs(Source const& source) const;
    void WatchSync(Source const& source, PacketAssembler const& assembler);
    void ReportEnd();

    RecordingSettings settings_;
    std::string sourceName_; // as reports name it
    RecordingClock& clock_;
    Report report_;
    StopEvent const& stop_;
    RecordingStatus& status_;
    BlockWriter writer_;
    RealTimePacer pacer_;
    SyncReport syncReport_;
    Absence absence_;
    SyncCounts earlier_;                  // of the times that the source was begun before
    std::uint64_t droppedWhenInSync_ = 0; // bytes
    bool reportedNoStream_ = false;
    bool reportedEndInPacket_ = false;
};

} // namespace workstation::service::recording
