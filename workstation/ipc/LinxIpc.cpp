// An endpoint of the recorder's message-passing IPC.
#include "LinxIpc.h"

#include <cerrno>
#include <map>
#include <optional>
#include <span>
#include <utility>

#include "Deadline.h"
#include "Failure.h"
#include "IpcMessage.h"
#include "ipc/DecodeRange.h"
#include "ipc/RequestEndpoint.h"
#include "log/PlatformLog.h"

using workstation::Deadline;
using workstation::Failure;
using workstation::ipc::CurrentDecodeRange;
using workstation::ipc::DecodeRange;
using workstation::ipc::Letter;
using workstation::ipc::RequestEndpoint;
using workstation::log::LogError;

namespace {

std::span<char const> PayloadOf(IpcMessage& message) {
    return {message.Data(), message.Size()};
}

DecodeRange RangeOf(IpcMessage& message) {
    return DecodeRange::Of(message.Data(), message.Size());
}

void Copy(Letter const& letter, IpcMessage& message) {
    auto const size = static_cast<unsigned int>(letter.payload.size());
    message.Allocate(letter.id, size, nullptr);
    message.Fill(letter.payload.data(), size);
}

} // namespace

std::string const LinxIpc::emptyString;

class LinxIpc::Impl {
public:
    struct Registration {
        Handler handler;
        void* user;
    };

    void MakeCurrent(Letter letter) {
        currentLetter = std::move(letter);
        current.Allocate(currentLetter.id, static_cast<unsigned int>(currentLetter.payload.size()),
                         currentLetter.payload.data());
        CurrentDecodeRange() = RangeOf(current);
    }

    std::string name;
    std::optional<RequestEndpoint> endpoint; // empty before Init
    Letter currentLetter;
    IpcMessage current; // a view of currentLetter
    std::map<unsigned int, Registration> handlers;
};

LinxIpc::LinxIpc(std::string const& name)
    : impl_(std::make_unique<Impl>()) {
    impl_->name = name;
}

// The current message is destroyed too: nothing may be decoded from it afterwards.
LinxIpc::~LinxIpc() {
    if (CurrentDecodeRange() == RangeOf(impl_->current)) {
        CurrentDecodeRange() = {};
    }
}

int LinxIpc::Init() {
    if (impl_->endpoint) {
        return 0;
    }
    try {
        impl_->endpoint.emplace(impl_->name);
        return 0;
    } catch (Failure const& failure) {
        LogError("endpoint " + impl_->name + ": " + failure.what());
        return ENOTCONN;
    }
}

int LinxIpc::Request(std::string const& server, IpcMessage& message, unsigned int replyId,
                     int timeoutMs, IpcMessage* reply) {
    if (!impl_->endpoint) {
        return ENOTCONN;
    }
    RequestEndpoint& endpoint = *impl_->endpoint;
    try {
        if (reply == nullptr) {
            endpoint.Send(server, message.Id(), PayloadOf(message));
        } else {
            Copy(endpoint.Request(server, message.Id(), PayloadOf(message), replyId, timeoutMs),
                 *reply);
        }
        return 0;
    } catch (Failure const& failure) {
        if (failure.Error() == EACCES) {
            LogError(failure.what()); // errno alone does not say whose the service is
        }
        return failure.Error();
    }
}

int LinxIpc::Receive(int timeoutMs, unsigned int messageId, std::string const& from,
                     IpcMessage* message) {
    if (!impl_->endpoint) {
        return ENOTCONN;
    }
    Deadline const deadline(timeoutMs);
    while (auto letter = impl_->endpoint->Receive(deadline)) {
        bool const isWanted =
            (messageId == 0 || letter->id == messageId) && (from.empty() || letter->sender == from);
        if (isWanted && message != nullptr) {
            Copy(*letter, *message);
        }
        impl_->MakeCurrent(std::move(*letter));
        auto const found = impl_->handlers.find(impl_->currentLetter.id);
        if (found != impl_->handlers.end()) {
            found->second.handler(this, found->second.user);
        }
        if (isWanted) {
            return 0;
        }
    }
    return ETIMEDOUT;
}

// The caller is about to decode the message, possibly after one of another endpoint.
IpcMessage& LinxIpc::CurrentMessage() {
    CurrentDecodeRange() = RangeOf(impl_->current);
    return impl_->current;
}

void LinxIpc::SetHandler(unsigned int messageId, Handler handler, void* user) {
    if (handler != nullptr) {
        impl_->handlers[messageId] = {handler, user};
    } else {
        impl_->handlers.erase(messageId);
    }
}
