// The stream manager service.
#pragma once

#include <chrono>
#include <string>

#include "StreamFileAccess.h"
#include "ipc/Endpoint.h"
#include "service/CommandLine.h"
#include "service/RequestRouter.h"
#include "service/SignalWatch.h"

namespace workstation {

// Runs the service until it is told to quit, by request or by signal. 0 when it ended so, 1, after
// one line on standard error, when it could not start.
int RunService(ServiceOptions const& options);

class Service {
public:
    Service(SignalWatch& signals, Endpoint endpoint, StreamFileAccess& pool);

    Service(Service const&) = delete;
    Service& operator=(Service const&) = delete;

    // Serves until told to quit.
    void Run();

private:
    void HandleSignal();
    void HandleRequests();

    void Reap();
    std::string Describe() const;

    SignalWatch& signals_;
    Endpoint endpoint_;
    StreamFileAccess& pool_;
    RequestRouter router_;
    std::chrono::steady_clock::time_point const started_ = std::chrono::steady_clock::now();
    bool isRunning_ = true;
};

} // namespace workstation
