// The stream manager service.
#include "service/Service.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <system_error>

#include "Item.h"
#include "LinxServerNameList.h"
#include "LogClient.h"
#include "Root.h"
#include "StreamMgrApi.h"
#include "ipc/Payload.h"
#include "ipc/StaleSockets.h"
#include "log/PlatformLog.h"
#include "pool/RootLock.h"
#include "pool/SeamSession.h"
#include "service/requests/ControlRequests.h"
#include "service/requests/EventRequests.h"
#include "service/requests/SubscriptionRequests.h"
#include "service/ring/Recovery.h"

namespace workstation::service {
namespace {

// How often slow subscribers are looked after.
constexpr int retryMs = 50;

int FailToStart(std::string const& reason) {
    std::cerr << "StreamMgr: " << reason << std::endl;
    return EXIT_FAILURE;
}

int Serve(SignalWatch& signals, StreamFileAccess& pool, ServiceOptions const& options) {
    ipc::RemoveStaleSockets();
    std::string const& name = LinxServerNameList::Instance()->Name(e_StreamMgr);
    ipc::Endpoint endpoint = ipc::Endpoint::Open(name);
    LogClient::Instance()->ProcessName(name);
    store::EventStore store(DatabasePath());
    ring::RecoverRecordings(store);

    Service service(signals, std::move(endpoint), pool, store);
    log::LogNotification("started with a pool of " + std::to_string(pool.GetFilePoolSize()) +
                         " files");
    service.Record(options);
    std::cout << "StreamMgr: ready" << std::endl;
    service.Run();
    log::LogNotification("stopped");
    return EXIT_SUCCESS;
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

int RunService(ServiceOptions const& options) {
    std::signal(SIGXFSZ, SIG_IGN); // a limit on the size of files shows as a failed write
    SignalWatch signals;
    StreamFileAccess pool;
    FileDescriptor root;
    int status = EXIT_FAILURE;
    try {
        root = pool::LockRoot();
        pool::SeamSession().Load(true);
        status = Serve(signals, pool, options);
    } catch (std::exception const& failure) {
        FailToStart(failure.what());
    }
    pool.Unload();
    return status;
}

Service::Recorder::Recorder(Service& service, recording::RecordOption const& option,
                            ServiceOptions const& options)
    : recording(option.stream, service.ring_, service.store_, service.notices_, service.clock_)
    , recorder({option.stream, option.source, options.isFast, options.loops}, recording, recording,
               service.clock_, log::LogNotification) {}

Service::Service(SignalWatch& signals, ipc::Endpoint endpoint, StreamFileAccess& pool,
                 store::EventStore& store)
    : signals_(signals)
    , endpoint_(std::move(endpoint))
    , pool_(pool)
    , store_(store) {
    requests::AddControlRequests(router_,
                                 {endpoint_, [this] { isRunning_ = false; }, [this] { Reap(); },
                                  [this] { return Describe(); },
                                  [this] { return subscribers::DescribeStorage(Storage()); }});
    requests::AddEventRequests(router_, {endpoint_, pool_, store_});
    requests::AddSubscriptionRequests(
        router_, {endpoint_, subscribers_,
                  [this](std::string const& name) { storageNews_.TellNewcomer(name); }});
}

void Service::Record(ServiceOptions const& options) {
    for (recording::RecordOption const& option : options.recordings) {
        recorders_.push_back(std::make_unique<Recorder>(*this, option, options));
        recorders_.back()->recorder.Start();
    }
}

void Service::Run() {
    while (isRunning_) {
        std::array<pollfd, 3> watched{{{signals_.Descriptor(), POLLIN, 0},
                                       {endpoint_.Descriptor(), POLLIN, 0},
                                       {notices_.Descriptor(), POLLIN, 0}}};
        if (poll(watched.data(), watched.size(), WaitMs()) == -1 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
        HandleRequests(); // those that came before a signal, too
        HandleSignal();
        HandleNotices();
        storageNews_.TellChanges(Clock::now());
        subscribers_.DeliverWaiting();
    }
    recorders_.clear(); // ends the recordings
    HandleNotices();
}

// -1: until something happens.
int Service::WaitMs() const {
    return subscribers_.HasWaiting() ? retryMs : storageNews_.WaitMs(Clock::now());
}

void Service::HandleSignal() {
    if (auto const signal = signals_.Take()) {
        log::LogNotification(std::string("told to quit by signal: ") + strsignal(*signal));
        isRunning_ = false;
    }
}

void Service::HandleRequests() {
    while (isRunning_) {
        auto request = endpoint_.Receive();
        if (!request) {
            return;
        }
        router_.Handle(*request);
    }
}

void Service::HandleNotices() {
    for (Notice const& notice : notices_.Take()) {
        if (auto const* const started = std::get_if<RecordStarted>(&notice)) {
            StringItem reid(started->reid);
            subscribers_.Notify(subscribers::Subscription::recordStart, ipc::EncodeItems({&reid}));
        } else if (auto const* const stopped = std::get_if<RecordStopped>(&notice)) {
            subscribers_.Notify(subscribers::Subscription::recordStop,
                                EncodeRecording(stopped->recording));
        }
    }
}

void Service::Reap() {
    unsigned int const processes = pool::SeamSession().Reap();
    unsigned int const files = ring_.Reap();
    log::LogNotification("reaped " + std::to_string(processes) + " dead processes, wiped " +
                         std::to_string(files) + " files");
}

std::string Service::Describe() const {
    using namespace std::chrono;
    auto const uptime = duration_cast<seconds>(Clock::now() - started_);
    return "process " + std::to_string(getpid()) + ", up " + std::to_string(uptime.count()) +
           " s, log level " + std::to_string(LogClient::Instance()->Level()) + ", pool '" +
           PoolPath() + "' of " + std::to_string(pool_.GetFilePoolSize()) + " files, " +
           std::to_string(recorders_.size()) + " recordings, " +
           std::to_string(subscribers_.Count()) + " subscriptions";
}

subscribers::StorageFigures Service::Storage() const {
    return subscribers::CountStorage(pool_, store_.FilesHeldByEvents());
}

} // namespace workstation::service
