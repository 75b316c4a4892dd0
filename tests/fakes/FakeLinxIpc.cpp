// An IPC endpoint, scripted.
#include "LinxIpc.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <map>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "FakePlatform.h"
#include "IpcMessage.h"
#include "Show.h"

class LinxIpc::Impl {
public:
    std::unique_ptr<IpcMessage> current = std::make_unique<IpcMessage>();
    std::map<unsigned int, std::pair<Handler, void*>> handlers;
};

namespace {

using ::Show;

// The message's form in the record: its id and its payload.
std::string Show(IpcMessage& message) {
    return Show(message.Id()) + " " + Show(std::string_view(message.Data(), message.Size()));
}

std::string Show(IpcMessage const* message) {
    return message == nullptr ? "null" : "a message";
}

void Copy(FakeMessage const& from, IpcMessage& to) {
    FakePlatform::Unrecorded const unrecorded(FakePlatform::Get());
    auto const size = static_cast<unsigned int>(from.payload.size());
    to.Allocate(from.id, size, nullptr);
    to.Fill(from.payload.data(), size);
}

// Takes the first of the scripted messages that fits as the reply. The others are lost.
int TakeReply(unsigned int replyId, int timeoutMs, IpcMessage& reply) {
    FakePlatform& platform = FakePlatform::Get();
    std::vector<FakeMessage> messages;
    if (!platform.replies.empty()) {
        messages = std::move(platform.replies.front());
        platform.replies.erase(platform.replies.begin());
    }
    auto const found = std::ranges::find_if(messages, [&](FakeMessage const& message) {
        return replyId == 0 || message.id == replyId;
    });
    if (found != messages.end()) {
        Copy(*found, reply);
        return 0;
    }
    if (timeoutMs < 0) {
        platform.Breach("a reply is waited for without limit that does not come");
    }
    return ETIMEDOUT;
}

// The next message for an endpoint; empty when all were taken.
std::optional<FakeMessage> TakeIncoming(std::string const& name) {
    auto& incoming = FakePlatform::Get().incoming;
    auto const found = std::ranges::find_if(incoming, [&](FakeMessage const& message) {
        return message.to.empty() || message.to == name;
    });
    if (found == incoming.end()) {
        return std::nullopt;
    }
    FakeMessage message = std::move(*found);
    incoming.erase(found);
    return message;
}

// Raises SIGINT: nothing else ends a wait without limit.
void Interrupt() {
    FakePlatform& platform = FakePlatform::Get();
    auto const handler = platform.signalHandlers.find(SIGINT);
    if (handler == platform.signalHandlers.end()) {
        platform.Breach("a message is waited for without limit that does not come");
        return;
    }
    handler->second(SIGINT);
}

} // namespace

std::string const LinxIpc::emptyString;

LinxIpc::LinxIpc(std::string const& name) {
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("LinxIpc(" + Show(name) + ")");
    platform.endpoints[this] = {name};
    FakePlatform::Unrecorded const unrecorded(platform);
    impl_ = std::make_unique<Impl>();
}

LinxIpc::~LinxIpc() {
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("~LinxIpc(" + Show(platform.NameOf(*this)) + ")");
    platform.endpoints.erase(this);
    FakePlatform::Unrecorded const unrecorded(platform);
    impl_.reset();
}

int LinxIpc::Init() {
    FakePlatform& platform = FakePlatform::Get();
    FakePlatform::Endpoint& endpoint = platform.endpoints.at(this);
    int const usual = endpoint.ready || !platform.IsServed(endpoint.name) ? 0 : EADDRINUSE;
    int const result = static_cast<int>(platform.Ask("ipc.", "Init", "", usual));
    endpoint.ready = endpoint.ready || result == 0;
    return result;
}

int LinxIpc::Request(std::string const& server, IpcMessage& message, unsigned int replyId,
                     int timeoutMs, IpcMessage* reply) {
    FakePlatform& platform = FakePlatform::Get();
    if (message.Size() == 0) {
        platform.Breach("a request without a payload");
    }
    std::string const name = platform.NameOf(*this);
    auto const answer = platform.Enter("ipc.", "Request",
                                       Show(server) + ", " + Show(message) + ", " +
                                           ShowAll(replyId, timeoutMs) + ", " + Show(reply));
    if (answer) {
        return static_cast<int>(answer->value);
    }
    if (!platform.endpoints.at(this).ready) {
        return ENOTCONN;
    }
    if (!platform.IsServed(server)) {
        return ECONNREFUSED;
    }
    if (server != platform.serviceName) {
        platform.incoming.push_back({message.Id(), {message.Data(), message.Size()}, name, server});
    }
    return reply == nullptr ? 0 : TakeReply(replyId, timeoutMs, *reply);
}

int LinxIpc::Receive(int timeoutMs, unsigned int messageId, std::string const& from,
                     IpcMessage* message) {
    FakePlatform& platform = FakePlatform::Get();
    FakePlatform::Endpoint const& endpoint = platform.endpoints.at(this);
    auto const answer = platform.Enter("ipc.", "Receive",
                                       ShowAll(timeoutMs, messageId, from) + ", " + Show(message));
    if (answer) {
        return static_cast<int>(answer->value);
    }
    if (!endpoint.ready) {
        return ENOTCONN;
    }
    while (auto next = TakeIncoming(endpoint.name)) {
        bool const wanted =
            (messageId == 0 || next->id == messageId) && (from.empty() || next->from == from);
        if (wanted && message != nullptr) {
            Copy(*next, *message);
        }
        platform.message = std::move(next->payload);
        {
            FakePlatform::Unrecorded const unrecorded(platform);
            impl_->current->Allocate(next->id, static_cast<unsigned int>(platform.message.size()),
                                     platform.message.data());
        }
        if (auto const found = impl_->handlers.find(next->id); found != impl_->handlers.end()) {
            auto const [handler, user] = found->second; // a handler may replace itself
            handler(this, user);
        }
        if (wanted) {
            return 0;
        }
    }
    if (timeoutMs < 0) {
        Interrupt();
    }
    return ETIMEDOUT;
}

IpcMessage& LinxIpc::CurrentMessage() {
    return *impl_->current;
}

void LinxIpc::SetHandler(unsigned int messageId, Handler handler, void* user) {
    if (handler != nullptr) {
        impl_->handlers[messageId] = {handler, user};
    } else {
        impl_->handlers.erase(messageId);
    }
}
