// The stream manager service.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "StreamFileAccess.h"
#include "ipc/Endpoint.h"
#include "service/CommandLine.h"
#include "service/FileRing.h"
#include "service/Notices.h"
#include "service/RequestRouter.h"
#include "service/SignalWatch.h"
#include "service/SlotRecording.h"
#include "service/StorageFigures.h"
#include "service/StorageNews.h"
#include "service/Subscribers.h"
#include "service/recording/RecordingClock.h"
#include "service/recording/StreamRecorder.h"

namespace workstation {

// Runs the service until it is told to quit, by request or by signal. 0 when it ended so, 1, after
// one line on standard error, when it could not start.
int RunService(ServiceOptions const& options);

// One thread serves requests and tells subscribers; each recording has a thread of its own.
class Service {
public:
    // What is passed by reference outlives the service.
    Service(SignalWatch& signals, Endpoint endpoint, StreamFileAccess& pool, EventStore& store);

    Service(Service const&) = delete;
    Service& operator=(Service const&) = delete;

    // Begins to record.
    void Record(ServiceOptions const& options);

    // Serves until told to quit, then ends the recordings.
    void Run();

private:
    using Clock = std::chrono::steady_clock;

    struct Recorder {
        SlotRecording recording;
        StreamRecorder recorder;

        Recorder(Service& service, RecordOption const& option, ServiceOptions const& options);
    };

    int WaitMs() const;
    void HandleSignal();
    void HandleRequests();
    void HandleNotices();

    void Reap();
    std::string Describe() const;
    StorageFigures Storage() const;

    SignalWatch& signals_;
    Endpoint endpoint_;
    StreamFileAccess& pool_;
    EventStore& store_;
    FileRing ring_{pool_, store_};
    SystemRecordingClock clock_;
    Notices notices_;
    Subscribers subscribers_{endpoint_};
    StorageNews storageNews_{subscribers_, [this] { return Storage(); }};
    RequestRouter router_;
    std::vector<std::unique_ptr<Recorder>> recorders_;
    Clock::time_point const started_ = Clock::now();
    bool isRunning_ = true;
};

} // namespace workstation
