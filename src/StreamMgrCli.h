// The command-line tool: its class, the pool it works on and its signal handler.
#pragma once

#include <memory>
#include <string>

#include "CommonCli.h"
#include "LinxIpc.h"
#include "SubscribeClient.h"
#include "common/FileAccess.h"
#include "notifications/NotificationHandlers.h"

class StreamMgrCli : public CommonCli {
public:
    // `name` is the name of the IPC endpoint, which is that of the process.
    explicit StreamMgrCli(std::string name);
    ~StreamMgrCli() override;

    void Usage() override;
    unsigned int ProcessOption(int option, char const* argument) override;
    unsigned int PreInit() override;

    // Sends the service a message with this id and text. Returns 3 after a line on standard output
    // when it was sent, 2 after a line on standard error when not. Does not wait for an answer.
    unsigned int SendRequest(unsigned int id, std::string text);

private:
    unsigned int Connect();
    unsigned int DeleteEvent(std::string const& reid);
    unsigned int LogFileChain(char const* argument, bool withWiped);
    unsigned int BackupDatabase(char const* path);
    unsigned int RecordAfterTheFact(std::string const& argument);
    unsigned int SplitEvent(std::string const& argument);
    unsigned int InsertByName(char const* argument);

    LinxIpc linxIpc_;
    std::string serverName_;                           // of the service; SendRequest sends to it
    std::unique_ptr<SubscribeClient> subscribeClient_; // null until --connect
    bool streamMgrRunning_;                            // as PreInit found it
};

// Handles SIGINT: unloads the pool and ends the process with status 255.
void TerminationHandler(int signal);
