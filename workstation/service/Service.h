// The stream manager service.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "StreamFileAccess.h"
#include "ipc/Endpoint.h"
#include "service/CommandLine.h"
#include "service/Notices.h"
#include "service/SignalWatch.h"
#include "service/recording/RecordingClock.h"
#include "service/recording/StreamRecorder.h"
#include "service/requests/RequestRouter.h"
#include "service/ring/FileRing.h"
#include "service/ring/SlotRecording.h"
#include "service/subscribers/StorageFigures.h"
#include "service/subscribers/StorageNews.h"
#include "service/subscribers/Subscribers.h"

namespace workstation::service {

// Runs the service until it is told to quit, by request or by signal. 0 when it ended so, 1, after
// one line on standard error, when it could not start.
int RunService(ServiceOptions const& options);

// One thread serves requests and tells subscribers; each recording has a thread of its own.
class Service {
public:
    // What is passed by reference outlives the service.
    Service(SignalWatch& signals, ipc::Endpoint endpoint, StreamFileAccess& pool,
            store::EventStore& store);

    Service(Service const&) = delete;
    Service& operator=(Service const&) = delete;

    // Begins to record.
    void Record(ServiceOptions const& options);

    // Serves until told to quit, then ends the recordings.
    void Run();

private:
    using Clock = std::chrono::steady_clock;

    struct Recorder {
        ring::SlotRecording recording;
        recording::StreamRecorder recorder;

        Recorder(Service& service, recording::RecordOption const& option,
                 ServiceOptions const& options);
    };

    int WaitMs() const;
    void HandleSignal();
    void HandleRequests();
    void HandleNotices();

    void Reap();
    std::string Describe() const;
    subscribers::StorageFigures Storage() const;

    SignalWatch& signals_;
    ipc::Endpoint endpoint_;
    StreamFileAccess& pool_;
    store::EventStore& store_;
    ring::FileRing ring_{pool_, store_};
    recording::SystemRecordingClock clock_;
    Notices notices_;
    subscribers::Subscribers subscribers_{endpoint_};
    subscribers::StorageNews storageNews_{subscribers_, [this] { return Storage(); }};
    requests::RequestRouter router_;
    std::vector<std::unique_ptr<Recorder>> recorders_;
    Clock::time_point const started_ = Clock::now();
    bool isRunning_ = true;
};

} // namespace workstation::service
