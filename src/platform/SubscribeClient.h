// Subscriptions to the notifications of a service.
#pragma once

#include <string>
#include <vector>

class Item;
class LinxIpc;

class SubscribeClient {
public:
    // `ipc` must outlive the client. `timeoutMs` is the longest wait, in milliseconds, for the
    // service to confirm a subscription.
    SubscribeClient(LinxIpc& ipc, std::string const& serverName, int timeoutMs);
    // Removes the handlers of its subscriptions from the endpoint.
    virtual ~SubscribeClient();

    SubscribeClient(SubscribeClient const&) = delete;
    SubscribeClient& operator=(SubscribeClient const&) = delete;

    // Subscribes to the notification `subscriptionId`, which arrives in messages with the id
    // `messageId`; `handler` is called for each, inside LinxIpc::Receive, with `user`. `item` is
    // sent with the request and may narrow the subscription; an empty one subscribes to everything.
    // 0 on success, non-zero when the service could not be reached, did not confirm in time, or
    // refused.
    int Subscribe(unsigned int subscriptionId, unsigned int messageId, Item& item,
                  void (*handler)(LinxIpc*, void*), void* user);

private:
    LinxIpc& ipc_;
    std::string serverName_;
    int timeoutMs_;
    std::vector<unsigned int> messageIds_; // of the handlers that it registered
};
