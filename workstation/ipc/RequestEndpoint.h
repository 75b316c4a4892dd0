// An endpoint that can wait for the answers to its requests.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>

#include "Deadline.h"
#include "ipc/CorrelationNumbers.h"
#include "ipc/Endpoint.h"

namespace workstation::ipc {

// Not for use by two threads at the same time.
class RequestEndpoint {
public:
    // Fails as Endpoint::Open does.
    explicit RequestEndpoint(std::string const& name);

    // Sends a message that has no answer. Fails as Endpoint::Send does, and with EAGAIN when the
    // receiver's queue stays full for 2 s.
    void Send(std::string const& to, std::uint32_t id, std::span<char const> payload) const {
        Send(to, id, payload, 0);
    }

    // Sends a request and returns its answer, which has the id `replyId` (0: any). -1 waits without
    // limit. Fails as Send does, with ECONNREFUSED when no process serves the name, with ECONNRESET
    // when the server ends before it has answered, and with ETIMEDOUT.
    Letter Request(std::string const& server, std::uint32_t id, std::span<char const> payload,
                   std::uint32_t replyId, int timeoutMs);

    // The next message that is not the answer to a request, in the order of arrival; empty when
    // none arrives before the deadline.
    std::optional<Letter> Receive(Deadline const& deadline);

private:
    // What identifies an answer.
    struct Expected {
        std::string const& server;
        SocketIdentity socket;
        std::uint32_t correlation;
        std::uint32_t id;

        bool IsMetBy(Letter const& letter) const {
            return letter.correlation == correlation && letter.sender == server &&
                   (id == 0 || letter.id == id);
        }
    };

    void Send(std::string const& to, std::uint32_t id, std::span<char const> payload,
              std::uint32_t correlation) const;
    Letter AwaitAnswer(Expected const& expected, int timeoutMs);
    std::optional<Letter> TakeAnswer(Expected const& expected);

    Endpoint endpoint_;
    CorrelationNumbers numbers_;
    std::deque<Letter> kept_; // arrived while an answer was awaited
};

} // namespace workstation::ipc
