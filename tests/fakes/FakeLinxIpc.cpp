// An IPC endpoint, scripted.
#include "LinxIpc.h"

#include <csignal>
#include <map>
#include <string_view>
#include <utility>

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

// The message as it stands in the record: its id and its payload.
std::string Show(IpcMessage& message) {
    return Show(message.Id()) + " " + Show(std::string_view(message.Data(), message.Size()));
}

std::string Show(IpcMessage const* message) {
    return message == nullptr ? "null" : "a message";
}

} // namespace

std::string const LinxIpc::emptyString;

LinxIpc::LinxIpc(std::string const& name) {
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("LinxIpc(" + Show(name) + ")");
    platform.endpoints[this] = name;
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
    return static_cast<int>(FakePlatform::Get().Ask("ipc.", "Init", "", 0));
}

int LinxIpc::Request(std::string const& server, IpcMessage& message, unsigned int replyId,
                     int timeoutMs, IpcMessage* reply) {
    FakePlatform& platform = FakePlatform::Get();
    if (message.Size() == 0) {
        platform.Breach("a request without a payload");
    }
    return static_cast<int>(platform.Ask("ipc.", "Request",
                                         Show(server) + ", " + Show(message) + ", " +
                                             ShowAll(replyId, timeoutMs) + ", " + Show(reply),
                                         0));
}

// Brings the next of the scripted messages; SIGINT when there is none left, as nothing else ends
// the wait.
int LinxIpc::Receive(int timeoutMs, unsigned int messageId, std::string const& from,
                     IpcMessage* message) {
    FakePlatform& platform = FakePlatform::Get();
    auto const answer = platform.Enter("ipc.", "Receive",
                                       ShowAll(timeoutMs, messageId, from) + ", " + Show(message));
    if (answer) {
        return static_cast<int>(answer->value);
    }
    if (platform.incoming.empty()) {
        platform.signalHandlers.at(SIGINT)(SIGINT);
        return 1;
    }
    auto const [id, payload] = platform.incoming.front();
    platform.incoming.erase(platform.incoming.begin());
    platform.message = payload;
    {
        FakePlatform::Unrecorded const unrecorded(platform);
        impl_->current->Allocate(id, static_cast<unsigned int>(payload.size()),
                                 platform.message.data());
    }
    if (auto const found = impl_->handlers.find(id); found != impl_->handlers.end()) {
        found->second.first(this, found->second.second);
    }
    return 0;
}

IpcMessage& LinxIpc::CurrentMessage() {
    return *impl_->current;
}

void LinxIpc::SetHandler(unsigned int messageId, Handler handler, void* user) {
    impl_->handlers[messageId] = {handler, user};
}
