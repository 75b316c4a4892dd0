// An endpoint of the recorder's message-passing IPC.
#pragma once

#include <memory>
#include <string>

class IpcMessage;

// One named endpoint. Not for use by two threads at once.
class LinxIpc {
public:
    // Called for a received message, which is then the current message of the endpoint. `user` is
    // the pointer that was registered with the handler.
    using Handler = void (*)(LinxIpc* ipc, void* user);

    static std::string const emptyString;

    // Only stores the name: no message can be sent or received before Init.
    explicit LinxIpc(std::string const& name);
    // Closes the endpoint; its name can then be used by another.
    ~LinxIpc();

    LinxIpc(LinxIpc const&) = delete;
    LinxIpc& operator=(LinxIpc const&) = delete;

    // Makes the endpoint ready for use. 0 on success; non-zero when its name is in use by another
    // process, or when the IPC directory is missing or not writable.
    int Init();

    // Sends `message` to the endpoint named `server`; when `reply` is not null, also waits for the
    // reply and stores it there.
    //   replyId    the id that the reply must have; 0 accepts any
    //   timeoutMs  longest wait for the reply in milliseconds; -1 waits without limit
    // 0 on success. Non-zero, at once, when no endpoint has that name; non-zero as well when the
    // queue of the server stays full, when the server ends before it replies, and when no reply
    // arrives in time.
    int Request(std::string const& server, IpcMessage& message, unsigned int replyId, int timeoutMs,
                IpcMessage* reply);

    // Waits for the next message, makes it the current one and calls the handler that was
    // registered for its id.
    //   timeoutMs  longest wait in milliseconds; -1 waits without limit
    //   messageId  the id to wait for; 0 accepts any. Messages with other ids that arrive before it
    //              are handled as well
    //   from       the name of the endpoint that must have sent it; empty accepts any
    //   message    set to a copy of the message when not null
    // 0 when a message was received; non-zero when the time was over or the endpoint failed.
    int Receive(int timeoutMs, unsigned int messageId, std::string const& from,
                IpcMessage* message);

    // The message received last; empty before the first. The reference is valid until the next
    // Receive or Request.
    IpcMessage& CurrentMessage();

    // Registers the handler for messages with this id; it replaces an earlier one. Null removes the
    // handler. Called by SubscribeClient.
    void SetHandler(unsigned int messageId, Handler handler, void* user);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};
