// The thread that records one stream.
#include "service/recording/RecordingThread.h"

#include <utility>

namespace workstation::service::recording {

RecordingThread::RecordingThread(RecordingSettings settings, RecordingTarget& target,
                                 TickSource& ticks, RecordingClock& clock, Report report,
                                 StopEvent& stop, RecordingStatus& status)
    : stop_(stop)
    , recording_(std::move(settings), target, ticks, clock, std::move(report), stop, status) {}

void RecordingThread::Start() {
    thread_ = std::thread([this] {
        recording_.Run();
        stop_.ThreadEnds();
    });
}

void RecordingThread::Stop() {
    stop_.Set();
    if (thread_.joinable()) {
        thread_.join();
    }
}

} // namespace workstation::service::recording
