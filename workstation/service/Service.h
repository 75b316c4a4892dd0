// The stream manager service: its parts, and the loop that serves.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ipc/Endpoint.h"
#include "log/PlatformLog.h"
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
#include "service/supervision/Supervisor.h"
#include "status/ServiceStatus.h"

namespace workstation::service {

// Reads the options from the configuration file again. Null when there is no such file. Throws a
// Failure that says what is wrong with it.
using ReadOptionsAgain = std::function<std::optional<ServiceOptions>()>;

// Runs the service until a request or a signal makes it quit. Returns the exit status: 0, or 1
// after one line on standard error when it could not start.
int RunService(ServiceOptions const& options, ReadOptionsAgain readAgain);

// One thread serves requests and notifies subscribers. Each recording has a thread of its own.
class Service {
public:
    // What is passed by reference outlives the service. Where no pool image is loaded, nothing is
    // recorded. Throws a Failure.
    Service(
        SignalWatch& signals, ipc::Endpoint endpoint, pool::PoolSession& session,
        store::EventStore& store, ReadOptionsAgain readAgain = [] { return std::nullopt; });

    Service(Service const&) = delete;
    Service& operator=(Service const&) = delete;

    // Counts of recordings.
    struct Changes {
        std::size_t ended = 0;
        std::size_t begun = 0;
        std::size_t kept = 0;
    };

    // Records this and nothing else: ends the recordings that are not among `options`, and begins
    // those that are new. What is recorded already goes on untouched. Without a pool image it logs
    // that nothing is recorded.
    Changes Record(ServiceOptions const& options);

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
            , files(session, store, flusher) {
            flusher.Start();
        }
    };

    // One recording with everything that it needs.
    struct Recorder {
        recording::RecordingSettings const settings;
        recording::StopEvent stop;
        recording::SystemRecordingClock clock{stop};
        recording::RecordingStatus status;
        ring::PoolTarget target;
        ring::DatabaseTickSource ticks;
        recording::RecordingThread thread;

        Recorder(Service& service, Ring& ring, recording::RecordingSettings wanted);
    };

    int WaitMs() const;
    bool IsRecorded(recording::RecordingSettings const& settings) const;
    template <typename Predicate>
    std::size_t EndRecordings(Predicate isToEnd);
    void ReadConfigurationAgain();
    void HandleSignal();
    void HandleRequests();
    void HandleStartsAndStops();

    void Reap();
    std::vector<std::string> Describe() const;
    std::string DescribePool() const;
    std::vector<status::StreamStatus> StreamStatuses() const;
    status::ServiceStatus Status() const;
    std::string StatusLine() const;
    std::vector<supervision::WatchedThread> Threads() const;
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
    ReadOptionsAgain readAgain_;
    supervision::Supervisor supervisor_{supervision::ServiceManager(), [this] { return Threads(); },
                                        [this] { return StatusLine(); }};
    log::HeldBackRepeats heldBack_;
    std::vector<std::unique_ptr<Recorder>> recorders_;
    Clock::time_point const started_ = Clock::now();
    bool isMissingPool_ = false; // there is something to record, and no pool image
    bool isRunning_ = true;
};

} // namespace workstation::service
