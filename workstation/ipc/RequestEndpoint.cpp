// An endpoint that can wait for the answers to its requests.
#include "ipc/RequestEndpoint.h"

#include <cerrno>
#include <chrono>
#include <utility>

#include "Failure.h"

namespace workstation::ipc {
namespace {

// How long a sender waits for room in the queue of a receiver that does not read.
constexpr int roomTimeoutMs = 2000;
// Interval of the checks, during a wait for an answer, whether the server is still alive.
constexpr int probeIntervalMs = 100;

// Differs between processes that have the same name one after the other, so that a late answer to
// the first is not taken for an answer to the second.
std::uint32_t StartNumber() {
    return static_cast<std::uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count());
}

} // namespace

RequestEndpoint::RequestEndpoint(std::string const& name)
    : endpoint_(Endpoint::Open(name))
    , numbers_(StartNumber()) {}

Letter RequestEndpoint::Request(std::string const& server, std::uint32_t id,
                                std::span<char const> payload, std::uint32_t replyId,
                                int timeoutMs) {
    auto const socket = endpoint_.Served(server);
    if (!socket) {
        throw Failure(ECONNREFUSED, "no process serves " + server);
    }
    Expected const expected{server, *socket, numbers_.Next(), replyId};
    Send(server, id, payload, expected.correlation);
    return AwaitAnswer(expected, timeoutMs);
}

std::optional<Letter> RequestEndpoint::Receive(Deadline const& deadline) {
    if (!kept_.empty()) {
        Letter letter = std::move(kept_.front());
        kept_.pop_front();
        return letter;
    }
    do {
        while (auto letter = endpoint_.Receive()) {
            if (!numbers_.WasGiven(letter->correlation)) {
                return letter;
            }
        }
    } while (endpoint_.Wait(deadline.RemainingMs()));
    return std::nullopt;
}

void RequestEndpoint::Send(std::string const& to, std::uint32_t id, std::span<char const> payload,
                           std::uint32_t correlation) const {
    if (!endpoint_.Send(to, id, payload, correlation, roomTimeoutMs)) {
        throw Failure(EAGAIN, to + " does not read its messages");
    }
}

Letter RequestEndpoint::AwaitAnswer(Expected const& expected, int timeoutMs) {
    Deadline const deadline(timeoutMs);
    Deadline nextProbe(probeIntervalMs);
    for (;;) {
        // Checked before the queue is read: an answer that arrived before the deadline, or before
        // the server ended, still counts.
        bool const isOver = deadline.Passed();
        bool const isProbing = nextProbe.Passed();
        bool const hasEnded = isProbing && endpoint_.Served(expected.server) != expected.socket;
        if (auto answer = TakeAnswer(expected)) {
            return std::move(*answer);
        }
        if (hasEnded) {
            throw Failure(ECONNRESET, expected.server + " has ended");
        }
        if (isOver) {
            throw Failure(ETIMEDOUT, expected.server + " does not answer");
        }
        if (isProbing) {
            nextProbe = Deadline(probeIntervalMs);
        }
        endpoint_.Wait(SoonerMs(deadline.RemainingMs(), nextProbe.RemainingMs()));
    }
}

// Looks for the answer among the messages that have arrived. Answers to requests that were given up
// are dropped; all other messages are kept for Receive.
std::optional<Letter> RequestEndpoint::TakeAnswer(Expected const& expected) {
    while (auto letter = endpoint_.Receive()) {
        if (expected.IsMetBy(*letter)) {
            return letter;
        }
        if (!numbers_.WasGiven(letter->correlation)) {
            kept_.push_back(std::move(*letter));
        }
    }
    return std::nullopt;
}

} // namespace workstation::ipc
