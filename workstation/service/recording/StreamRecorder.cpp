// The thread that records one stream.
#include "service/recording/StreamRecorder.h"

#include <utility>

namespace workstation::service::recording {

StreamRecorder::StreamRecorder(RecordingSettings settings, RecordingTarget& target,
                               TickSource& ticks, RecordingClock& clock, Recording::Report report)
    : recording_(std::move(settings), target, ticks, clock, std::move(report), stop_) {}

void StreamRecorder::Start() {
    thread_ = std::thread([this] { recording_.Run(); });
}

void StreamRecorder::Stop() {
    stop_.Set();
    if (thread_.joinable()) {
        thread_.join();
    }
}

} // namespace workstation::service::recording
