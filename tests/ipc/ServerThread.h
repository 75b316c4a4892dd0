// A service that answers as a test scripts it.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "ipc/Endpoint.h"
#include "support/ChildProcess.h"

// Serves a name from construction to destruction; `script` then has the endpoint to itself, in a
// thread of its own, and is joined at the end.
class ServerThread {
public:
    using Script = std::function<void(workstation::ipc::Endpoint&)>;

    ServerThread(std::string const& name, Script script)
        : endpoint_(MustOpen(name))
        , thread_([this, script = std::move(script)] { script(endpoint_); }) {}
    ~ServerThread() { thread_.join(); }

    ServerThread(ServerThread const&) = delete;
    ServerThread& operator=(ServerThread const&) = delete;

    static workstation::ipc::Endpoint MustOpen(std::string const& name) {
        std::string error;
        auto endpoint = workstation::ipc::Endpoint::Open(name, error);
        if (!endpoint) {
            throw std::runtime_error(error);
        }
        return std::move(*endpoint);
    }

    // The next message, waited for. An empty one when none comes.
    static workstation::ipc::Letter Next(workstation::ipc::Endpoint& endpoint) {
        while (endpoint.Wait(patienceMs)) {
            if (auto letter = endpoint.Receive()) {
                return *letter;
            }
        }
        return {};
    }

private:
    workstation::ipc::Endpoint endpoint_;
    std::thread thread_;
};
