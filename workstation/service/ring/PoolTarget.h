// The pool as the target of a recording.
#pragma once

#include "service/StartStopQueue.h"
#include "service/recording/RecordingClock.h"
#include "service/recording/RecordingTarget.h"
#include "service/ring/FileChainWriter.h"
#include "store/EventStore.h"

namespace workstation::service::ring {

// Records into stream files, and posts the start and the stop of the recording.
class PoolTarget : public recording::RecordingTarget {
public:
    // What is passed by reference outlives the object.
    PoolTarget(int stream, FileAllocator& files, store::EventStore& store,
               StartStopQueue& startsAndStops, recording::RecordingClock& clock,
               recording::StopEvent const& stop, recording::RecordingStatus& status);

    void Begin() override;
    void Write(recording::TickedPackets const& packets) override;
    void End() override;

private:
    std::int64_t StopTime() const;
    void EndRow();
    std::int64_t WallSeconds() const;

    int stream_;
    store::EventStore& store_;
    StartStopQueue& startsAndStops_;
    recording::RecordingClock& clock_;
    Retry retry_;
    FileChainWriter writer_;
    SlotCutter cutter_{writer_};
    store::Event recording_;
};

} // namespace workstation::service::ring
