// The stream manager service: its parts, and the loop that serves.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ipc/Endpoint.h"
#include "pool/PoolSession.h"
#include "service/ServiceOptions.h"
#include "service/SignalWatch.h"
#include "service/StartStopQueue.h"
#include "service/recording/RecordingClock.h"
#include "service/recording/RecordingThread.h"
#include "service/requests/RequestRouter.h"
#include "service/ring/DatabaseTickSource.h"
#include "service/ring/FileAllocator.h"
#include "service/ring/Flusher.h"
#include "service/ring/PoolTarget.h"
#include "service/subscribers/StorageFigures.h"
#include "service/subscribers/StorageNotifier.h"
#include "service/subscribers/Subscribers.h"
#include "status/ServiceStatus.h"

namespace workstation::service {

// Runs the service until a request or a signal makes it quit. Returns the exit status: 0, or 1
// after one line on standard error when it could not start.
int RunService(ServiceOptions const& options);

// One thread serves requests and notifies subscribers. Each recording has a thread of its own.
class Service {
public:
    // What is passed by reference outlives the service. Where no pool image is loaded, nothing is
    // recorded. Throws a Failure.
    Service(SignalWatch& signals, ipc::Endpoint endpoint, pool::PoolSession& session,
            store::EventStore& store);

    Service(Service const&) = delete;
    Service& operator=(Service const&) = delete;

    // Begins to record. Without a pool image it logs that it does not.
    void Record(ServiceOptions const& options);

    // Serves until it is to quit, then ends the recordings. Throws a Failure.
    void Run();

private:
    using Clock = std::chrono::steady_clock;

    // What all recordings need.
    struct Ring {
        ring::Flusher flusher;
        ring::FileAllocator files;

        Ring(pool::PoolSession& session, store::EventStore& store)
            : flusher(session.Pool())
            , files(session, store, flusher) {}
    };

    // One recording with everything that it needs.
    struct Recorder {
        recording::StopEvent stop;
        recording::SystemRecordingClock clock{stop};
        recording::RecordingStatus status;
        ring::PoolTarget target;
        ring::DatabaseTickSource ticks;
        recording::RecordingThread thread;

        Recorder(Service& service, Ring& ring, recording::RecordingSettings const& settings);
    };

    int WaitMs() const;
    void HandleSignal();
    void HandleRequests();
    void HandleStartsAndStops();

    void Reap();
    std::vector<std::string> Describe() const;
    std::string DescribePool() const;
    status::ServiceStatus Status() const;
    std::string ProblemOfThePool() const;
    subscribers::StorageFigures Storage() const;

    SignalWatch& signals_;
    ipc::Endpoint endpoint_;
    pool::PoolSession& session_;
    store::EventStore& store_;
    std::optional<Ring> ring_; // empty without a pool image
    StartStopQueue startsAndStops_;
    subscribers::Subscribers subscribers_{endpoint_};
    subscribers::StorageNotifier storageNotifier_{subscribers_, [this] { return Storage(); }};
    requests::RequestRouter router_;
    std::vector<std::unique_ptr<Recorder>> recorders_;
    Clock::time_point const started_ = Clock::now();
    bool isMissingPool_ = false; // there is something to record, and no pool image
    bool isRunning_ = true;
};

} // namespace workstation::service
