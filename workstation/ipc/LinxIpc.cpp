// An endpoint of the recorder's message-passing IPC.
#include "LinxIpc.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <utility>

#include "Deadline.h"
#include "IpcMessage.h"
#include "ipc/DecodeScope.h"
#include "ipc/Endpoint.h"
#include "log/PlatformLog.h"

using workstation::Deadline;
using workstation::SoonerMs;
using workstation::ipc::CurrentDecodeRange;
using workstation::ipc::DecodeRange;
using workstation::ipc::Endpoint;
using workstation::ipc::Letter;
using workstation::ipc::SocketIdentity;
using workstation::log::LogNotification;

namespace {

// How long a sender waits for room in the queue of an endpoint that does not read.
constexpr int roomTimeoutMs = 2000;
// How often who waits for an answer looks whether the server still lives.
constexpr int probeIntervalMs = 100;

// A start that differs between the processes that bear a name one after the other, so that an
// answer to the former is none to the latter.
std::uint32_t FirstNumber() {
    return static_cast<std::uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count());
}

// The correlation numbers of one endpoint's requests, one after the other; 0 is none.
class CorrelationNumbers {
public:
    std::uint32_t Next() {
        if (++last_ == 0) {
            ++last_;
        }
        return last_;
    }

    bool WasGiven(std::uint32_t number) const {
        return number != 0 && number - first_ - 1 < last_ - first_;
    }

private:
    std::uint32_t first_ = FirstNumber();
    std::uint32_t last_ = first_;
};

std::span<char const> PayloadOf(IpcMessage& message) {
    return {message.Data(), message.Size()};
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
    explicit Impl(std::string name)
        : name_(std::move(name)) {}
    ~Impl();

    Impl(Impl const&) = delete;
    Impl& operator=(Impl const&) = delete;

    int Init();
    int Request(std::string const& server, IpcMessage& message, unsigned int replyId, int timeoutMs,
                IpcMessage* reply);
    int Receive(LinxIpc& ipc, int timeoutMs, unsigned int messageId, std::string const& from,
                IpcMessage* message);
    IpcMessage& CurrentMessage();
    void SetHandler(unsigned int messageId, Handler handler, void* user);

private:
    struct Registration {
        Handler handler;
        void* user;
    };

    // What an answer is known by.
    struct Expected {
        std::string const& server;
        SocketIdentity socket;
        std::uint32_t correlation;
        unsigned int id;

        bool IsMetBy(Letter const& letter) const {
            return letter.correlation == correlation && letter.sender == server &&
                   (id == 0 || letter.id == id);
        }
    };

    int AwaitAnswer(Expected const& expected, int timeoutMs, IpcMessage& reply);
    bool TakeAnswer(Expected const& expected, IpcMessage& reply);
    std::optional<Letter> Next(Deadline const& deadline);
    void MakeCurrent(Letter letter);
    void CallHandler(LinxIpc& ipc);
    DecodeRange CurrentPayload();

    std::string name_;
    std::optional<Endpoint> endpoint_; // nothing before Init
    CorrelationNumbers numbers_;
    std::deque<Letter> waiting_; // came while an answer was awaited
    Letter currentLetter_;
    IpcMessage current_; // a view of currentLetter_
    std::map<unsigned int, Registration> handlers_;
};

// The message goes with the endpoint, so nothing may be decoded from it any more.
LinxIpc::Impl::~Impl() {
    if (CurrentDecodeRange() == CurrentPayload()) {
        CurrentDecodeRange() = {};
    }
}

int LinxIpc::Impl::Init() {
    if (!endpoint_) {
        std::string error;
        if (auto opened = Endpoint::Open(name_, error)) {
            endpoint_.emplace(std::move(*opened));
        } else {
            LogNotification("endpoint " + name_ + ": " + error);
        }
    }
    return endpoint_ ? 0 : ENOTCONN;
}

int LinxIpc::Impl::Request(std::string const& server, IpcMessage& message, unsigned int replyId,
                           int timeoutMs, IpcMessage* reply) {
    if (!endpoint_) {
        return ENOTCONN;
    }
    if (reply == nullptr) {
        return endpoint_->Send(server, message.Id(), PayloadOf(message), 0, roomTimeoutMs);
    }
    auto const socket = endpoint_->Served(server);
    if (!socket) {
        return ECONNREFUSED;
    }
    Expected const expected{server, *socket, numbers_.Next(), replyId};
    int const error = endpoint_->Send(server, message.Id(), PayloadOf(message),
                                      expected.correlation, roomTimeoutMs);
    return error != 0 ? error : AwaitAnswer(expected, timeoutMs, *reply);
}

int LinxIpc::Impl::AwaitAnswer(Expected const& expected, int timeoutMs, IpcMessage& reply) {
    Deadline const deadline(timeoutMs);
    Deadline nextProbe(probeIntervalMs);
    for (;;) {
        // Asked before looking into the queue: what came before the end, or before the server
        // died, still counts.
        bool const over = deadline.Passed();
        bool const probing = nextProbe.Passed();
        bool const dead = probing && endpoint_->Served(expected.server) != expected.socket;
        if (TakeAnswer(expected, reply)) {
            return 0;
        }
        if (over || dead) {
            return dead ? ECONNRESET : ETIMEDOUT;
        }
        if (probing) {
            nextProbe = Deadline(probeIntervalMs);
        }
        endpoint_->Wait(SoonerMs(deadline.RemainingMs(), nextProbe.RemainingMs()));
    }
}

// Looks for the answer among the messages that have come. Answers to requests that were given up
// are dropped, everything else is kept for Receive.
bool LinxIpc::Impl::TakeAnswer(Expected const& expected, IpcMessage& reply) {
    while (auto letter = endpoint_->Receive()) {
        if (expected.IsMetBy(*letter)) {
            Copy(*letter, reply);
            return true;
        }
        if (!numbers_.WasGiven(letter->correlation)) {
            waiting_.push_back(std::move(*letter));
        }
    }
    return false;
}

int LinxIpc::Impl::Receive(LinxIpc& ipc, int timeoutMs, unsigned int messageId,
                           std::string const& from, IpcMessage* message) {
    if (!endpoint_) {
        return ENOTCONN;
    }
    Deadline const deadline(timeoutMs);
    while (auto letter = Next(deadline)) {
        bool const wanted =
            (messageId == 0 || letter->id == messageId) && (from.empty() || letter->sender == from);
        if (wanted && message != nullptr) {
            Copy(*letter, *message);
        }
        MakeCurrent(std::move(*letter));
        CallHandler(ipc);
        if (wanted) {
            return 0;
        }
    }
    return ETIMEDOUT;
}

// The oldest message that was kept, else the next that comes in time.
std::optional<Letter> LinxIpc::Impl::Next(Deadline const& deadline) {
    if (!waiting_.empty()) {
        Letter letter = std::move(waiting_.front());
        waiting_.pop_front();
        return letter;
    }
    do {
        while (auto letter = endpoint_->Receive()) {
            if (!numbers_.WasGiven(letter->correlation)) {
                return letter;
            }
        }
    } while (endpoint_->Wait(deadline.RemainingMs()));
    return std::nullopt;
}

void LinxIpc::Impl::MakeCurrent(Letter letter) {
    currentLetter_ = std::move(letter);
    current_.Allocate(currentLetter_.id, static_cast<unsigned int>(currentLetter_.payload.size()),
                      currentLetter_.payload.data());
    CurrentDecodeRange() = CurrentPayload();
}

// The handler is copied first: it may register another one in its place.
void LinxIpc::Impl::CallHandler(LinxIpc& ipc) {
    auto const found = handlers_.find(currentLetter_.id);
    if (found != handlers_.end()) {
        Registration const registration = found->second;
        registration.handler(&ipc, registration.user);
    }
}

// Who asks for the message is about to decode it, maybe after having handled another endpoint's.
IpcMessage& LinxIpc::Impl::CurrentMessage() {
    CurrentDecodeRange() = CurrentPayload();
    return current_;
}

DecodeRange LinxIpc::Impl::CurrentPayload() {
    return DecodeRange::Of(current_.Data(), current_.Size());
}

void LinxIpc::Impl::SetHandler(unsigned int messageId, Handler handler, void* user) {
    if (handler != nullptr) {
        handlers_[messageId] = {handler, user};
    } else {
        handlers_.erase(messageId);
    }
}

LinxIpc::LinxIpc(std::string const& name)
    : impl_(std::make_unique<Impl>(name)) {}

LinxIpc::~LinxIpc() = default;

int LinxIpc::Init() {
    return impl_->Init();
}

int LinxIpc::Request(std::string const& server, IpcMessage& message, unsigned int replyId,
                     int timeoutMs, IpcMessage* reply) {
    return impl_->Request(server, message, replyId, timeoutMs, reply);
}

int LinxIpc::Receive(int timeoutMs, unsigned int messageId, std::string const& from,
                     IpcMessage* message) {
    return impl_->Receive(*this, timeoutMs, messageId, from, message);
}

IpcMessage& LinxIpc::CurrentMessage() {
    return impl_->CurrentMessage();
}

void LinxIpc::SetHandler(unsigned int messageId, Handler handler, void* user) {
    impl_->SetHandler(messageId, handler, user);
}
