// An IPC endpoint for a test.
#pragma once

#include <optional>

#include "FakePlatform.h"
#include "LinxIpc.h"

// Its construction is not recorded.
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
