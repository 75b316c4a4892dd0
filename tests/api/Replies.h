// A service that sends the replies of a test, and the encodings that they consist of.
#pragma once

#include <string>
#include <vector>

#include "Item.h"
#include "ipc/Payload.h"
#include "ipc/ServerThread.h"

// The encodings of the items, one directly after the other.
template <typename... Items>
std::string Bytes(Items... items) {
    auto const payload = workstation::ipc::EncodeItems({&items...});
    return {payload.begin(), payload.end()};
}

// A stream manager that answers one request after the other with these replies.
class ReplyingService {
public:
    ReplyingService(unsigned int replyId, std::vector<std::string> replies)
        : server_("StreamMgr", [replyId, replies = std::move(replies)](auto& endpoint) {
            for (std::string const& reply : replies) {
                auto const request = ServerThread::Next(endpoint);
                endpoint.Send(request.sender, replyId, reply, request.correlation, patienceMs);
            }
        }) {}

private:
    ServerThread server_;
};
