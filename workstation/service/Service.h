// The stream manager service.
#pragma once

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <string>

#include "Item.h"
#include "StreamFileAccess.h"
#include "ipc/Endpoint.h"
#include "service/CommandLine.h"
#include "service/RootOwnership.h"
#include "service/SignalWatch.h"

namespace workstation {

// Runs the service until it is told to quit, by request or by signal. 0 when it ended so, 1, after
// one line on standard error, when it could not start.
int RunService(ServiceOptions const& options);

class Service {
public:
    Service(RootOwnership root, SignalWatch& signals, Endpoint endpoint, StreamFileAccess& pool);

    // Serves until told to quit.
    void Run();

private:
    struct Request {
        std::uint32_t id;
        char const* name; // as it stands in the log
        void (Service::*handle)(Letter& letter);
    };
    static Request const requests[];

    void HandleSignal();
    void HandleLetters();
    void Handle(Letter& letter);

    void Ping(Letter& letter);
    void Quit(Letter& letter);
    void Reap(Letter& letter);
    void Info(Letter& letter);
    void DumpStorage(Letter& letter);
    void GetLogLevel(Letter& letter);
    void SetLogLevel(Letter& letter);

    void Reply(Letter const& letter, std::uint32_t id, std::initializer_list<Item*> items);

    RootOwnership root_;
    SignalWatch& signals_;
    Endpoint endpoint_;
    StreamFileAccess& pool_;
    std::chrono::steady_clock::time_point const started_ = std::chrono::steady_clock::now();
    bool isRunning_ = true;
};

} // namespace workstation
