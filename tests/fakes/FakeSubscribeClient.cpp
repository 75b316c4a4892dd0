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
}

int SubscribeClient::Subscribe(unsigned int subscriptionId, unsigned int messageId, Item& item,
                               void (*handler)(LinxIpc*, void*), void* user) {
    FakePlatform& platform = FakePlatform::Get();
    std::string encoded(item.Size(), '\0');
    item.Encode(reinterpret_cast<unsigned char*>(encoded.data()));
    if (handler == nullptr) {
        platform.Breach("a subscription without a handler");
    }
    auto const answer = platform.Enter("", "Subscribe",
                                       ShowAll(subscriptionId, messageId, encoded) +
                                           (user == nullptr ? ", null" : ", user"));
    if (answer && answer->value != 0) {
        return static_cast<int>(answer->value);
    }
    ipc_.SetHandler(messageId, handler, user);
    return 0;
}
