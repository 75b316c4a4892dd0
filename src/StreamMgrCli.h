// The command-line tool: its class, the pool it works on and its signal handler.
#pragma once

#include <memory>
#include <string>

#include "CommonCli.h"
#include "Item.h"
#include "LinxIpc.h"
#include "SubscribeClient.h"
#include "common/FileAccess.h"

namespace StreamMgrApi {

// The storage-space notification: five figures in KiB, their encodings back to back.
class StreamSpaceStatusItem : public Item {
public:
    UIntItem total;
    UIntItem buffer;
    UIntItem untransferredInBuffer;
    UIntItem untransferredNotInBuffer;
    UIntItem free;

    unsigned char* Encode(unsigned char* out) override;
    unsigned char* Decode(unsigned char* in) override;
    unsigned int Size() override;
};

} // namespace StreamMgrApi

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
    unsigned int Connect();
    unsigned int DeleteEvent(std::string const& reid);
    unsigned int LogFileChain(char const* argument, bool withWiped);
    unsigned int BackupDatabase(char const* path);
    unsigned int RecordAfterTheFact(std::string const& argument);
    unsigned int SplitEvent(std::string const& argument);
    unsigned int InsertByName(char const* argument);

    LinxIpc linxIpc_;
    std::string serverName_;
    std::unique_ptr<SubscribeClient> subscribeClient_; // null until --connect
    bool streamMgrRunning_;                            // as PreInit found it
};

// The handlers of the notifications: each writes what came to the system log. `user` is null.
void StreamSubscriptionHandler(LinxIpc* ipc, void* user);
void RecordStartHandler(LinxIpc* ipc, void* user);
void RecordStopHandler(LinxIpc* ipc, void* user);

// Handles SIGINT: gives up the pool and ends the process with status 255.
void TerminationHandler(int signal);
