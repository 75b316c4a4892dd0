// Subscriptions, scripted.
#include "SubscribeClient.h"

#include "FakePlatform.h"
#include "Item.h"
#include "LinxIpc.h"
#include "Show.h"

SubscribeClient::SubscribeClient(LinxIpc& ipc, std::string const& serverName, int timeoutMs)
    : ipc_(ipc)
    , serverName_(serverName)
    , timeoutMs_(timeoutMs) {
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("SubscribeClient(" + platform.NameOf(ipc_) + ", " +
                  ShowAll(serverName_, timeoutMs_) + ")");
}

SubscribeClient::~SubscribeClient() {
    FakePlatform& platform = FakePlatform::Get();
    platform.Note("~SubscribeClient(" + platform.NameOf(ipc_) + ")");
    if (!platform.endpoints.contains(&ipc_)) {
        return; // a breach, which NameOf has reported
    }
    for (unsigned int const messageId : messageIds_) {
        ipc_.SetHandler(messageId, nullptr, nullptr);
    }
}

int SubscribeClient::Subscribe(unsigned int subscriptionId, unsigned int messageId, Item& item,
                               void (*handler)(LinxIpc*, void*), void* user) {
    FakePlatform& platform = FakePlatform::Get();
    std::string encoded(item.Size(), '\0');
    item.Encode(reinterpret_cast<unsigned char*>(encoded.data()));
    if (handler == nullptr) {
        platform.Breach("a subscription without a handler");
    }
    long const result = platform.Ask("", "Subscribe",
                                     ShowAll(subscriptionId, messageId, encoded) +
                                         (user == nullptr ? ", null" : ", user"),
                                     platform.IsServed(serverName_) ? 0 : -1);
    if (result == 0) {
        ipc_.SetHandler(messageId, handler, user);
        messageIds_.push_back(messageId);
    }
    return static_cast<int>(result);
}
