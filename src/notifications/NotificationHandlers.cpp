// Option --connect: the notifications of the service and what is logged about each.
#include "notifications/NotificationHandlers.h"

#include <string>

#include "IpcMessage.h"
#include "LinxIpc.h"
#include "StreamMgrApi.h"
#include "SubscribeClient.h"
#include "common/LogEntry.h"

namespace {

enum SubscriptionId : unsigned int {
    subscriptionStorage = 10,
    subscriptionRecordStart = 11,
    subscriptionRecordStop = 12,
};

// Message ids of the notifications.
enum NotificationId : unsigned int {
    notificationStorage = 0x3614,
    notificationRecordStart = 0x3615,
    notificationRecordStop = 0x3616,
};

unsigned char* CurrentPayload(LinxIpc& ipc) {
    return reinterpret_cast<unsigned char*>(ipc.CurrentMessage().Data());
}

void LogMegabytes(char const* label, UIntItem const& sizeKiB) {
    common::LogEntry(common::logError, label + std::to_string(sizeKiB.Value() >> 10) + " MB");
}

} // namespace

bool notifications::SubscribeToAll(SubscribeClient& client) {
    StringItem everything;
    StreamMgrApi::EventRecordItem everyEvent;
    return client.Subscribe(subscriptionStorage, notificationStorage, everything,
                            StreamSubscriptionHandler, nullptr) == 0 &&
           client.Subscribe(subscriptionRecordStart, notificationRecordStart, everything,
                            RecordStartHandler, nullptr) == 0 &&
           client.Subscribe(subscriptionRecordStop, notificationRecordStop, everyEvent,
                            RecordStopHandler, nullptr) == 0;
}

void StreamSubscriptionHandler(LinxIpc* ipc, void*) {
    StreamMgrApi::StreamSpaceStatusItem space;
    space.Decode(CurrentPayload(*ipc));
    common::LogEntry(common::logError, "subscription update:");
    LogMegabytes("\ttotal: ", space.total);
    LogMegabytes("\tbuffer: ", space.buffer);
    LogMegabytes("\tevent untransferred in buffer: ", space.untransferredInBuffer);
    LogMegabytes("\tevent untransferred not in buffer: ", space.untransferredNotInBuffer);
    LogMegabytes("\tfree: ", space.free);
}

void RecordStartHandler(LinxIpc* ipc, void*) {
    StringItem reid;
    reid.Decode(CurrentPayload(*ipc));
    common::LogEntry(common::logError, "RecordStartHandler: Record start, reid " + reid.Value());
}

void RecordStopHandler(LinxIpc* ipc, void*) {
    StreamMgrApi::EventRecordItem event;
    event.Decode(CurrentPayload(*ipc));
    common::LogEntry(common::logError,
                     "RecordStopHandler: Record stop, reid " + event.reid.Value());
}

namespace StreamMgrApi {

unsigned char* StreamSpaceStatusItem::Encode(unsigned char* out) {
    for (UIntItem* const item :
         {&total, &buffer, &untransferredInBuffer, &untransferredNotInBuffer, &free}) {
        out = item->Encode(out);
    }
    return out;
}

unsigned char* StreamSpaceStatusItem::Decode(unsigned char* in) {
    for (UIntItem* const item :
         {&total, &buffer, &untransferredInBuffer, &untransferredNotInBuffer, &free}) {
        in = item->Decode(in);
    }
    return in;
}

unsigned int StreamSpaceStatusItem::Size() {
    return total.Size() + buffer.Size() + untransferredInBuffer.Size() +
           untransferredNotInBuffer.Size() + free.Size();
}

} // namespace StreamMgrApi
