// The stream manager service: its parts, and the loop that serves.
#include "service/Service.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <system_error>

#include "Deadline.h"
#include "Failure.h"
#include "Item.h"
#include "LinxServerNameList.h"
#include "LogClient.h"
#include "Root.h"
#include "StreamMgrApi.h"
#include "ipc/Payload.h"
#include "ipc/StaleSockets.h"
#include "log/PlatformLog.h"
#include "pool/PoolImage.h"
#include "pool/RootLock.h"
#include "service/recording/SourceName.h"
#include "service/requests/ControlRequests.h"
#include "service/requests/EventRequests.h"
#include "service/requests/SubscriptionRequests.h"
#include "service/ring/FreeFile.h"
#include "service/ring/Recovery.h"
#include "service/supervision/StatusLine.h"
#include "status/StatusText.h"

namespace workstation::service {
namespace {

// How often notifications that wait for slow subscribers are sent again.
constexpr int retryMs = 50;

// How many requests are handled before the loop looks for anything else, such as a signal.
constexpr int requestsAtOnce = 64;

bool IsDirectory(std::string const& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

// The flags are for files only.
bool IsSame(recording::RecordingSettings const& one, recording::RecordingSettings const& other) {
    bool const haveSameFlags = one.isFast == other.isFast && one.loops == other.loops;
    return one.stream == other.stream && one.source == other.source &&
           (haveSameFlags || !recording::IsPath(one.source));
}

void Serve(ServiceOptions const& options, ReadOptionsAgain readAgain) {
    SignalWatch signals;
    FileDescriptor const root = pool::LockRoot();
    pool::PoolSession session;
    if (!IsDirectory(PoolPath())) {
        session.Load(true);
    }
    ipc::RemoveStaleSockets();
    std::string const& name = LinxServerNameList::Instance()->Name(e_StreamMgr);
    ipc::Endpoint endpoint = ipc::Endpoint::Open(name);
    LogClient::Instance()->ProcessName(name);
    store::EventStore store(DatabasePath());
    if (session.PoolIfLoaded() != nullptr) {
        ring::RecoverRecordings(session, store);
        log::LogNotification("started with a pool of " +
                             std::to_string(session.Pool().FileCount()) + " files");
    }

    Service service(signals, std::move(endpoint), session, store, std::move(readAgain));
    service.Record(options);
    std::cout << "StreamMgr: ready" << std::endl;
    service.Run();
    log::LogNotification("stopped");
}

std::string NothingRecorded() {
    return "the pool '" + PoolPath() + "' is a directory: nothing is recorded";
}

std::vector<char> EncodeRecording(store::Event const& recording) {
    StreamMgrApi::EventRecordItem item;
    item.reid.Value(recording.reid);
    item.tagsComplete.Value(recording.tagsComplete);
    item.startTime.Value(static_cast<int>(recording.startTime));
    item.stopTime.Value(static_cast<int>(recording.stopTime));
    item.streams.Value(recording.streams);
    return ipc::EncodeItems({&item});
}

} // namespace

int RunService(ServiceOptions const& options, ReadOptionsAgain readAgain) {
    std::signal(SIGXFSZ, SIG_IGN); // a limit on the size of files shows as a failed write
    try {
        Serve(options, std::move(readAgain));
        return EXIT_SUCCESS;
    } catch (std::exception const& failure) {
        std::cerr << "StreamMgr: " << failure.what() << std::endl;
        return EXIT_FAILURE;
    }
}

Service::Recorder::Recorder(Service& service, Ring& ring, recording::RecordingSettings wanted)
    : settings(std::move(wanted))
    , status(settings, [&service] { service.startsAndStops_.Wake(); })
    , target(settings.stream, ring.files, service.store_, service.startsAndStops_, clock, stop,
             status)
    , ticks(settings.stream, service.store_, stop, status)
    , thread(settings, target, ticks, clock, log::LogNotification, stop, status) {}

Service::Service(SignalWatch& signals, ipc::Endpoint endpoint, pool::PoolSession& session,
                 store::EventStore& store, ReadOptionsAgain readAgain)
    : signals_(signals)
    , endpoint_(std::move(endpoint))
    , session_(session)
    , store_(store)
    , readAgain_(std::move(readAgain)) {
    endpoint_.ReportDropped(log::LogWarning);
    requests::AddControlRequests(router_,
                                 {endpoint_, [this] { isRunning_ = false; }, [this] { Reap(); },
                                  [this] { return Describe(); },
                                  [this] { return subscribers::DescribeStorage(Storage()); },
                                  [this] { return Status(); }});
    if (session_.PoolIfLoaded() != nullptr) {
        ring_.emplace(session_, store_);
    }
    requests::AddEventRequests(router_, {endpoint_, session_.PoolIfLoaded(), store_});
    requests::AddSubscriptionRequests(router_,
                                      {endpoint_, subscribers_, [this](std::string const& name) {
                                           storageNotifier_.NotifyNewSubscriber(name, Clock::now());
                                       }});
}

Service::Changes Service::Record(ServiceOptions const& options) {
    if (!ring_) {
        log::LogWarning(NothingRecorded());
        isMissingPool_ = !options.empty();
        return {};
    }
    std::size_t const ended = EndRecordings([&](Recorder const& recorder) {
        return std::ranges::none_of(
            options, [&](auto const& wanted) { return IsSame(recorder.settings, wanted); });
    });
    std::size_t const kept = recorders_.size();
    for (recording::RecordingSettings const& settings : options) {
        if (!IsRecorded(settings)) {
            recorders_.push_back(std::make_unique<Recorder>(*this, *ring_, settings));
            recorders_.back()->thread.Start();
        }
    }
    return {ended, recorders_.size() - kept, kept};
}

bool Service::IsRecorded(recording::RecordingSettings const& settings) const {
    return std::ranges::any_of(
        recorders_, [&](auto const& recorder) { return IsSame(recorder->settings, settings); });
}

// All of them end at the same time. Returns how many.
template <typename Predicate>
std::size_t Service::EndRecordings(Predicate isToEnd) {
    for (auto const& recorder : recorders_) {
        if (isToEnd(*recorder)) {
            recorder->stop.Set();
        }
    }
    return std::erase_if(recorders_, [&](auto const& recorder) { return isToEnd(*recorder); });
}

void Service::Run() {
    supervisor_.Manager().Ready();
    while (isRunning_) {
        supervisor_.Report(Clock::now());
        std::array<pollfd, 4> watched{{{signals_.Descriptor(), POLLIN, 0},
                                       {endpoint_.Descriptor(), POLLIN, 0},
                                       {startsAndStops_.Descriptor(), POLLIN, 0},
                                       {heldBack_.Descriptor(), POLLIN, 0}}};
        if (poll(watched.data(), watched.size(), WaitMs()) == -1 && errno != EINTR) {
            throw SystemFailure("poll");
        }
        HandleRequests(); // also those that arrived before a signal
        HandleSignal();
        HandleStartsAndStops();
        heldBack_.WriteDue();
        storageNotifier_.NotifyOfChanges(Clock::now());
        subscribers_.DeliverWaiting();
    }
    supervisor_.Manager().Stopping();
    store_.WaitBriefly(); // what cannot be finished is left to the next start
    EndRecordings([](Recorder const&) { return true; });
    HandleStartsAndStops();
    heldBack_.WriteAll();
}

// -1: no limit.
int Service::WaitMs() const {
    auto const now = Clock::now();
    int const notifications = subscribers_.HasWaiting() ? retryMs : storageNotifier_.WaitMs(now);
    return SoonerMs(notifications, supervisor_.WaitMs(now));
}

void Service::HandleSignal() {
    auto const signal = signals_.Take();
    if (signal == SIGHUP) {
        ReadConfigurationAgain();
    } else if (signal) {
        log::LogNotification(std::string("told to quit by signal: ") + strsignal(*signal));
        isRunning_ = false;
    }
}

// Where the file is missing or wrong, everything goes on as it is.
void Service::ReadConfigurationAgain() {
    supervisor_.Manager().Reloading();
    try {
        if (auto const options = readAgain_()) {
            Changes const changes = Record(*options);
            log::LogNotification("configuration read again: " + std::to_string(changes.ended) +
                                 " recordings ended, " + std::to_string(changes.begun) +
                                 " begun, " + std::to_string(changes.kept) + " kept");
        } else {
            log::LogNotification("there is no configuration file to read again");
        }
    } catch (std::exception const& failure) {
        log::LogError(std::string("cannot use the configuration: ") + failure.what());
    }
    supervisor_.Manager().Ready();
}

void Service::HandleRequests() {
    for (int count = 0; isRunning_ && count < requestsAtOnce; ++count) {
        auto request = endpoint_.Receive();
        if (!request) {
            return;
        }
        router_.Handle(*request);
    }
}

void Service::HandleStartsAndStops() {
    for (StartOrStop const& startOrStop : startsAndStops_.Take()) {
        if (auto const* const started = std::get_if<RecordStarted>(&startOrStop)) {
            StringItem reid(started->reid);
            subscribers_.Notify(subscribers::Subscription::recordStart, ipc::EncodeItems({&reid}));
        } else if (auto const* const stopped = std::get_if<RecordStopped>(&startOrStop)) {
            subscribers_.Notify(subscribers::Subscription::recordStop,
                                EncodeRecording(stopped->recording));
        }
    }
}

void Service::Reap() {
    unsigned int const processes = session_.Reap();
    unsigned int const files = ring_ ? ring_->files.Reap() : 0;
    log::LogNotification("reaped " + std::to_string(processes) + " dead processes, wiped " +
                             std::to_string(files) + " files",
                         log::Severity::info);
}

std::vector<std::string> Service::Describe() const {
    using State = status::StreamStatus::State;
    status::ServiceStatus const status = Status();
    auto const ended =
        std::ranges::count(status.streams, State::ended, &status::StreamStatus::state);
    std::size_t const recordings = status.streams.size() - static_cast<std::size_t>(ended);
    std::vector<std::string> lines{status::DescribeProcess(status) + ", log level " +
                                   std::to_string(LogClient::Instance()->Level()) + ", " +
                                   DescribePool() + ", " + std::to_string(recordings) +
                                   " recordings, " + std::to_string(subscribers_.Count()) +
                                   " subscriptions"};
    for (status::StreamStatus const& stream : status.streams) {
        lines.push_back(status::Describe(stream));
    }
    std::ranges::move(status::DescribeDegradation(status), std::back_inserter(lines));
    return lines;
}

std::string Service::DescribePool() const {
    std::string const name = "pool '" + PoolPath() + "'";
    return ring_ ? name + " of " + std::to_string(session_.Pool().FileCount()) + " files"
                 : name + ", a directory";
}

std::vector<status::StreamStatus> Service::StreamStatuses() const {
    std::vector<status::StreamStatus> streams;
    for (auto const& recorder : recorders_) {
        streams.push_back(recorder->status.At(Clock::now()));
    }
    std::ranges::sort(streams, {}, &status::StreamStatus::stream);
    return streams;
}

// Without a look into the database, which may be slow at present.
std::string Service::StatusLine() const {
    supervision::SlotCounts slots;
    if (ring_) {
        slots = {session_.Pool().FileCount(), ring::CountFree(session_.Pool())};
    }
    return supervision::StatusLine(StreamStatuses(), slots, ProblemOfThePool());
}

std::vector<supervision::WatchedThread> Service::Threads() const {
    std::vector<supervision::WatchedThread> threads;
    for (auto const& recorder : recorders_) {
        threads.push_back({"stream " + std::to_string(recorder->settings.stream),
                           recorder->stop.ThreadsHeartbeat()});
    }
    if (ring_) {
        threads.push_back({"the flush of the pool", ring_->flusher.ThreadsHeartbeat()});
    }
    return threads;
}

status::ServiceStatus Service::Status() const {
    status::ServiceStatus status;
    auto const now = Clock::now();
    status.process = static_cast<std::uint32_t>(getpid());
    status.upSeconds = static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::seconds>(now - started_).count());
    status.streams = StreamStatuses();
    status.subscribers = static_cast<std::uint32_t>(subscribers_.LiveCount());
    status.problem = ProblemOfThePool();
    subscribers::StorageFigures storage;
    try {
        storage = Storage();
    } catch (Failure const& failure) { // counts all files that are not free as buffer
        status.problem = std::string("the event database cannot be read: ") + failure.what();
        storage = subscribers::CountStorage(session_.Pool(), {});
    }
    status.storage = {storage.total, storage.buffer, storage.free};
    return status;
}

std::string Service::ProblemOfThePool() const {
    if (ring_) {
        return ring_->flusher.Problem();
    }
    return isMissingPool_ ? NothingRecorded() : "";
}

// A directory has no stream files.
subscribers::StorageFigures Service::Storage() const {
    return ring_ ? subscribers::CountStorage(session_.Pool(), store_.FilesHeldByEvents())
                 : subscribers::StorageFigures{};
}

} // namespace workstation::service
