// The requests of those who want to be told.
#include "service/requests/SubscriptionRequests.h"

#include <optional>
#include <span>

#include "Item.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"
#include "service/requests/Reply.h"

namespace workstation::service::requests {
namespace {

struct Wish {
    subscribers::Subscription subscription;
    std::uint32_t messageId;
};

// What narrows a subscription is not looked at: everyone is told everything.
std::optional<Wish> Decode(std::span<char> payload) {
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
        return Wish{subscription, messageId.Value()};
    }
    return std::nullopt;
}

void Subscribe(SubscriptionContext const& context, ipc::Letter& request) {
    auto const wish = Decode(request.payload);
    if (wish) {
        context.subscribers.Add(request.sender, wish->subscription, wish->messageId);
    }
    BoolItem accepted(wish.has_value());
    Reply(context.endpoint, request, api::subscribeReply, {&accepted});
    if (wish && wish->subscription == subscribers::Subscription::storage) {
        context.tellStorage(request.sender);
    }
}

} // namespace

void AddSubscriptionRequests(RequestRouter& router, SubscriptionContext const& context) {
    router.On(api::subscribeRequest, "subscription",
              [context](ipc::Letter& request) { Subscribe(context, request); });
}

} // namespace workstation::service::requests
