// A request to a service, and its answer.
#pragma once

#include <initializer_list>
#include <string>

class Item;
class LinxIpc;

namespace workstation::api {

// A service as one client reaches it.
struct RemoteService {
    LinxIpc& ipc; // the client's endpoint
    std::string const& name;
    int timeoutMs; // longest wait for an answer
};

enum class Answer {
    received,
    missing,   // not in time, or the request could not be sent
    malformed, // not the encodings of the expected items
};

// Sends a request with these items and decodes its answer. `answer` is set completely only when the
// answer was received.
Answer Ask(RemoteService const& service, unsigned int requestId,
           std::initializer_list<Item*> request, unsigned int replyId,
           std::initializer_list<Item*> answer);

} // namespace workstation::api
