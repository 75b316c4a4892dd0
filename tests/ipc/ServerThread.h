// A service that runs the script of a test.
#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "ipc/Endpoint.h"
#include "support/ChildProcess.h"

// Serves a name from construction to destruction. Only `script` uses the endpoint, in a thread that
// is joined at the end.
class ServerThread {
public:
    using Script = std::function<void(workstation::ipc::Endpoint&)>;

    ServerThread(std::string const& name, Script script)
        : endpoint_(workstation::ipc::Endpoint::Open(name))
        , thread_([this, script = std::move(script)] { Run(script); }) {}
    ~ServerThread() { thread_.join(); }

    ServerThread(ServerThread const&) = delete;
    ServerThread& operator=(ServerThread const&) = delete;

    // Waits for the next message. An empty one when none arrives.
    static workstation::ipc::Letter Next(workstation::ipc::Endpoint& endpoint) {
        while (endpoint.Wait(patienceMs)) {
            if (auto letter = endpoint.Receive()) {
                return *letter;
            }
        }
        return {};
    }

private:
    void Run(Script const& script) {
        try {
            script(endpoint_);
        } catch (std::exception const& exception) {
            ADD_FAILURE() << exception.what();
        }
    }

    workstation::ipc::Endpoint endpoint_;
    std::thread thread_;
};
