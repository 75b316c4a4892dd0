// The requests of clients that subscribe to notifications.
#include "service/requests/SubscriptionRequests.h"

#include <optional>
#include <span>

#include "Item.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "service/requests/SendReply.h"

namespace workstation::service::requests {
namespace {

struct Request {
    subscribers::Subscription subscription;
    std::uint32_t messageId;
};

// Whatever follows the two items would narrow the subscription down. It is ignored: every
// subscriber gets all notifications.
std::optional<Request> Decode(std::span<char> payload) {
    UIntItem number;
    UIntItem messageId;
    std::size_t const headSize = number.Size() + messageId.Size();
    if (payload.size() < headSize ||
        !ipc::DecodeItems(payload.first(headSize), {&number, &messageId})) {
        return std::nullopt;
    }
    switch (auto const subscription = static_cast<subscribers::Subscription>(number.Value())) {
    case subscribers::Subscription::storage:
    case subscribers::Subscription::recordStart:
    case subscribers::Subscription::recordStop:
        return Request{subscription, messageId.Value()};
    }
    return std::nullopt;
}

void Subscribe(SubscriptionContext const& context, ipc::Letter& request) {
    auto const wanted = Decode(request.payload);
    if (wanted) {
        context.subscribers.Add(request.sender, wanted->subscription, wanted->messageId);
    }
    BoolItem accepted(wanted.has_value());
    SendReply(context.endpoint, request, api::subscribeReply, {&accepted});
    if (wanted && wanted->subscription == subscribers::Subscription::storage) {
        context.notifyOfStorage(request.sender);
    }
}

} // namespace

void AddSubscriptionRequests(RequestRouter& router, SubscriptionContext const& context) {
    router.On(api::subscribeRequest, "subscription",
              [context](ipc::Letter& request) { Subscribe(context, request); });
}

} // namespace workstation::service::requests
