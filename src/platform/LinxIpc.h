// An endpoint of the recorder's message-passing IPC.
#pragma once

#include <memory>
#include <string>

class IpcMessage;

// One named endpoint. Not for use by two threads at once.
class LinxIpc {
public:
    // Called for a received message; the endpoint's current message is that message.
    using Handler = void (*)(LinxIpc* ipc, void* user);

    static std::string const emptyString;

    // Names the endpoint; nobody can reach it before Init.
    explicit LinxIpc(std::string const& name);
    // Ends the endpoint and gives its name free.
    ~LinxIpc();

    LinxIpc(LinxIpc const&) = delete;
    LinxIpc& operator=(LinxIpc const&) = delete;

    // Makes the endpoint ready for use. 0 on success; non-zero when its name cannot be had
    // (another process serves it, the IPC directory is missing or not writable).
    int Init();

    // Sends `message` to the endpoint named `server`; when `reply` is not null, also waits for the
    // answer and stores it there.
    //   replyId    the id that the answer must have; 0 takes any
    //   timeoutMs  longest wait for the answer in milliseconds; -1 waits without limit
    // 0 on success. Non-zero, at once, when nobody serves that name; non-zero as well when the
    // server does not take the message (its queue stays full), dies while the answer is awaited,
    // or does not answer in time.
    int Request(std::string const& server, IpcMessage& message, unsigned int replyId, int timeoutMs,
                IpcMessage* reply);

    // Waits for the next message, makes it the current one and calls the handler that was
    // registered for its id.
    //   timeoutMs  longest wait in milliseconds; -1 waits without limit
    //   messageId  the id to wait for; 0 takes any. Other messages that come are handled on the way
    //   from       the endpoint it must come from; empty takes any
    //   message    receives a copy when not null
    // 0 when a message was received, non-zero when none came in time or the endpoint failed.
    int Receive(int timeoutMs, unsigned int messageId, std::string const& from,
                IpcMessage* message);

    // The message received last: valid until the next Receive or Request. Empty before the first.
    IpcMessage& CurrentMessage();

    // Registers the handler for messages with this id, in place of an earlier one; null removes
    // it. Called by subscription clients.
    void SetHandler(unsigned int messageId, Handler handler, void* user);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};
