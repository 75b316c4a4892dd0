// Subscriptions to the notifications of a service.
#include "SubscribeClient.h"

#include "IpcMessage.h"
#include "Item.h"
#include "LinxIpc.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"

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
    IpcMessage request;
    IpcMessage reply;
    bool const subscribed =
        ipc::PackMessage(request, subscribeRequest, {&subscription, &message, &item}) &&
        ipc_.Request(serverName_, request, subscribeReply, timeoutMs_, &reply) == 0 &&
        ipc::UnpackMessage(reply, {&accepted}) && accepted.Value();
    if (!subscribed) {
        return -1;
    }
    // Notifications that have come in the meantime wait in the endpoint for the next Receive.
    ipc_.SetHandler(messageId, handler, user);
    messageIds_.push_back(messageId);
    return 0;
}
