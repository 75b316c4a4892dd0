// The stream manager service.
#include "service/Service.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <system_error>

#include "LinxServerNameList.h"
#include "LogClient.h"
#include "Root.h"
#include "ipc/SocketDirectory.h"
#include "pool/PoolSession.h"
#include "pool/RootLock.h"
#include "service/ControlRequests.h"
#include "service/ServiceLog.h"
#include "service/StorageFigures.h"

namespace workstation {
namespace {

int FailToStart(std::string const& reason) {
    std::cerr << "StreamMgr: " << reason << std::endl;
    return EXIT_FAILURE;
}

} // namespace

int RunService(ServiceOptions const&) {
    SignalWatch signals;
    Failure why;
    FileDescriptor const root = LockRoot(why);
    if (!root)
        return FailToStart(why.text);
    StreamFileAccess pool;
    if (!pool.InitializeFileAccess(false, true))
        return FailToStart("cannot serve without a pool");
    RemoveStaleSockets();
    std::string const& name = LinxServerNameList::Instance()->Name(e_StreamMgr);
    std::string error;
    auto endpoint = Endpoint::Open(name, error);
    if (!endpoint)
        return FailToStart(error);

    LogClient::Instance()->ProcessName(name);
    LogNotification("started with a pool of " + std::to_string(pool.GetFilePoolSize()) + " files");
    Service service(signals, std::move(*endpoint), pool);
    std::cout << "StreamMgr: ready" << std::endl;
    service.Run();
    pool.Unload();
    LogNotification("stopped");
    return EXIT_SUCCESS;
}

Service::Service(SignalWatch& signals, Endpoint endpoint, StreamFileAccess& pool)
    : signals_(signals)
    , endpoint_(std::move(endpoint))
    , pool_(pool) {
    AddControlRequests(router_, {endpoint_, [this] { isRunning_ = false; }, [this] { Reap(); },
                                 [this] { return Describe(); },
                                 [this] { return DescribeStorage(CountStorage(pool_)); }});
}

void Service::Run() {
    while (isRunning_) {
        std::array<pollfd, 2> watched{
            {{signals_.Descriptor(), POLLIN, 0}, {endpoint_.Descriptor(), POLLIN, 0}}};
        if (poll(watched.data(), watched.size(), -1) == -1 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "poll");
        HandleSignal();
        HandleRequests();
    }
}

void Service::HandleSignal() {
    if (auto const signal = signals_.Take()) {
        LogNotification(std::string("told to quit by signal: ") + strsignal(*signal));
        isRunning_ = false;
    }
}

void Service::HandleRequests() {
    while (isRunning_) {
        auto request = endpoint_.Receive();
        if (!request)
            return;
        router_.Handle(*request);
    }
}

void Service::Reap() {
    LogNotification("reaped " + std::to_string(ReapDeadProcesses()) + " dead processes");
}

std::string Service::Describe() const {
    using namespace std::chrono;
    auto const uptime = duration_cast<seconds>(steady_clock::now() - started_);
    return "process " + std::to_string(getpid()) + ", up " + std::to_string(uptime.count()) +
           " s, log level " + std::to_string(LogClient::Instance()->Level()) + ", pool '" +
           PoolPath() + "' of " + std::to_string(pool_.GetFilePoolSize()) + " files";
}

} // namespace workstation
