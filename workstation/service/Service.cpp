// The stream manager service.
#include "service/Service.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <iterator>

#include "Item.h"
#include "LinxServerNameList.h"
#include "LogClient.h"
#include "Root.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "ipc/SocketDirectory.h"
#include "pool/PoolSession.h"
#include "service/ServiceLog.h"
#include "service/StorageFigures.h"

namespace workstation {
namespace {

constexpr unsigned int allLogLevels = 3;

int FailToStart(std::string const& reason) {
    std::cerr << "StreamMgr: " << reason << std::endl;
    return EXIT_FAILURE;
}

} // namespace

int RunService(ServiceOptions const&) {
    SignalWatch signals;
    std::string error;
    auto root = RootOwnership::Take(RootDirectory(), error);
    if (!root)
        return FailToStart(error);
    StreamFileAccess pool;
    if (!pool.InitializeFileAccess(false, true))
        return FailToStart("cannot serve without a pool");
    RemoveStaleSockets();
    std::string const& name = LinxServerNameList::Instance()->Name(e_StreamMgr);
    auto endpoint = Endpoint::Open(name, error);
    if (!endpoint)
        return FailToStart(error);

    LogClient::Instance()->ProcessName(name);
    Service service(std::move(*root), signals, std::move(*endpoint), pool);
    LogNotification("started with a pool of " + std::to_string(pool.GetFilePoolSize()) + " files");
    std::cout << "StreamMgr: ready" << std::endl;
    service.Run();
    pool.Unload();
    LogNotification("stopped");
    return EXIT_SUCCESS;
}

Service::Service(RootOwnership root, SignalWatch& signals, Endpoint endpoint,
                 StreamFileAccess& pool)
    : root_(std::move(root))
    , signals_(signals)
    , endpoint_(std::move(endpoint))
    , pool_(pool) {}

void Service::Run() {
    while (isRunning_) {
        std::array<pollfd, 2> watched{
            {{signals_.Descriptor(), POLLIN, 0}, {endpoint_.Descriptor(), POLLIN, 0}}};
        if (poll(watched.data(), watched.size(), -1) == -1 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "poll");
        HandleSignal();
        HandleLetters();
    }
}

void Service::HandleSignal() {
    if (auto const signal = signals_.Take()) {
        LogNotification(std::string("told to quit by ") + strsignal(*signal));
        isRunning_ = false;
    }
}

void Service::HandleLetters() {
    while (isRunning_) {
        auto letter = endpoint_.Receive();
        if (!letter)
            return;
        Handle(*letter);
    }
}

Service::Request const Service::requests[] = {
    {pingRequest, "ping", &Service::Ping},
    {quitRequest, "quit", &Service::Quit},
    {reapRequest, "reap", &Service::Reap},
    {infoRequest, "info", &Service::Info},
    {storageDumpRequest, "storage dump", &Service::DumpStorage},
    {getLogLevelRequest, "log level", &Service::GetLogLevel},
    {setLogLevelRequest, "set log level", &Service::SetLogLevel},
};

void Service::Handle(Letter& letter) {
    auto const request = std::find_if(std::begin(requests), std::end(requests),
                                      [&](auto const& entry) { return entry.id == letter.id; });
    if (request == std::end(requests)) {
        LogNotification("unknown request " + std::to_string(letter.id) + " from " + letter.sender);
        return;
    }
    LogNotification(std::string(request->name) + " requested by " + letter.sender);
    (this->*request->handle)(letter);
}

void Service::Ping(Letter&) {}

void Service::Quit(Letter&) {
    isRunning_ = false;
}

void Service::Reap(Letter&) {
    LogNotification("reaped " + std::to_string(ReapDeadProcesses()) + " dead processes");
}

void Service::Info(Letter&) {
    using namespace std::chrono;
    auto const uptime = duration_cast<seconds>(steady_clock::now() - started_);
    LogNotification("process " + std::to_string(getpid()) + ", up " +
                    std::to_string(uptime.count()) + " s, log level " +
                    std::to_string(LogClient::Instance()->Level()) + ", pool '" + PoolPath() +
                    "' of " + std::to_string(pool_.GetFilePoolSize()) + " files");
}

void Service::DumpStorage(Letter&) {
    LogNotification("storage: " + DescribeStorage(CountStorage(pool_)));
}

void Service::GetLogLevel(Letter& letter) {
    UIntItem level(LogClient::Instance()->Level());
    Reply(letter, getLogLevelReply, {&level});
}

void Service::SetLogLevel(Letter& letter) {
    UIntItem level;
    BoolItem done(DecodeItems(letter.payload, {&level}) && level.Value() <= allLogLevels);
    if (done.Value()) {
        LogNotification("log level set to " + std::to_string(level.Value()));
        LogClient::Instance()->Level(level.Value());
    }
    Reply(letter, setLogLevelReply, {&done});
}

// A client that does not take its answer goes without: the service waits for nobody.
void Service::Reply(Letter const& letter, std::uint32_t id, std::initializer_list<Item*> items) {
    std::vector<char> const payload = EncodeItems(items);
    int const error = endpoint_.Send(letter.sender, id, payload, letter.correlation, 0);
    if (error != 0)
        LogNote("no answer to " + letter.sender + ": " + std::strerror(error));
}

} // namespace workstation
