// Option --connect: the notifications of the service and what is logged about each.
#pragma once

#include "Item.h"

class LinxIpc;
class SubscribeClient;

namespace StreamMgrApi {

// The payload of the storage notification: five sizes in KiB, encoded in this order with nothing
// between them.
class StreamSpaceStatusItem : public Item {
public:
    UIntItem total;
    UIntItem buffer;
    UIntItem untransferredInBuffer;
    UIntItem untransferredNotInBuffer;
    UIntItem free;

    unsigned char* Encode(unsigned char* out) override;
    unsigned char* Decode(unsigned char* in) override;
    unsigned int Size() override;
};

} // namespace StreamMgrApi

// The handlers of the notifications. Each writes the current message of `ipc` to the system log.
// `user` is not used.
void StreamSubscriptionHandler(LinxIpc* ipc, void* user);
void RecordStartHandler(LinxIpc* ipc, void* user);
void RecordStopHandler(LinxIpc* ipc, void* user);

namespace notifications {

// Subscribes to all notifications with these handlers, up to the first that fails. Subscriptions
// made before a failure stay. True when all succeeded.
bool SubscribeToAll(SubscribeClient& client);

} // namespace notifications
