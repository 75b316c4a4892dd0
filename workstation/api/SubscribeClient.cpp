// Subscriptions to the notifications of a service.
#include "SubscribeClient.h"

#include "Item.h"
#include "LinxIpc.h"
#include "api/ServiceMessages.h"
#include "api/ServiceRequest.h"

using namespace workstation;
using namespace workstation::api;

SubscribeClient::SubscribeClient(LinxIpc& ipc, std::string const& serverName, int timeoutMs)
    : ipc_(ipc)
    , serverName_(serverName)
    , timeoutMs_(timeoutMs) {}

SubscribeClient::~SubscribeClient() {
    for (unsigned int const messageId : messageIds_) {
        ipc_.SetHandler(messageId, nullptr, nullptr);
    }
}

int SubscribeClient::Subscribe(unsigned int subscriptionId, unsigned int messageId, Item& item,
                               void (*handler)(LinxIpc*, void*), void* user) {
    UIntItem subscription(subscriptionId);
    UIntItem message(messageId);
    BoolItem accepted;
    Answer const answer = Ask({ipc_, serverName_, timeoutMs_}, subscribeRequest,
                              {&subscription, &message, &item}, subscribeReply, {&accepted});
    if (answer != Answer::received || !accepted.Value()) {
        return -1;
    }
    // Notifications that arrived meanwhile are in the endpoint's queue until the next Receive.
    ipc_.SetHandler(messageId, handler, user);
    messageIds_.push_back(messageId);
    return 0;
}
