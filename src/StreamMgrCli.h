// The command-line tool: its class, the pool it works on and its signal handler.
#pragma once

#include <string>

#include "CommonCli.h"
#include "LinxIpc.h"
#include "SubscribeClient.h"
#include "common/FileAccess.h"

class StreamMgrCli : public CommonCli {
public:
    // `name` is the name of this process, and of its IPC endpoint.
    explicit StreamMgrCli(std::string name);
    ~StreamMgrCli() override;

    void Usage() override;
    unsigned int ProcessOption(int option, char const* argument) override;
    unsigned int PreInit() override;

    // Sends one of the service's plain text requests and says on standard output or standard error
    // how that went. 3 when it was delivered, 2 when not. No answer is waited for.
    unsigned int SendRequest(unsigned int id, std::string text);

private:
    LinxIpc linxIpc_;
    std::string serverName_;
    SubscribeClient* subscribeClient_; // owned; null until --connect
    bool streamMgrRunning_;            // as PreInit found it
};

// Handles SIGINT: gives up the pool and ends the process with status 255.
void TerminationHandler(int signal);
