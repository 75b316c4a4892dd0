// An endpoint for the tools that tell the service something.
#pragma once

#include <optional>

#include "LinxIpc.h"
#include "fakes/FakePlatform.h"

// Comes into being unrecorded.
class IpcEndpoint {
public:
    explicit IpcEndpoint(FakePlatform& platform) {
        FakePlatform::Unrecorded const unrecorded(platform);
        ipc_.emplace("Client");
    }

    LinxIpc& Ipc() { return *ipc_; }

private:
    std::optional<LinxIpc> ipc_;
};
