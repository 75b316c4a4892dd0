// The ids of the messages that the stream manager service and its clients exchange.
#pragma once

namespace workstation::api {

// Control requests: the payload is the name of the request with its terminating NUL. Not answered.
constexpr unsigned int quitRequest = 0x500;
constexpr unsigned int pingRequest = 0x3603;
constexpr unsigned int reapRequest = 0x360E;
constexpr unsigned int infoRequest = 0x360F;
constexpr unsigned int storageDumpRequest = 0x363A;

// Notifications, sent to their subscribers.
constexpr unsigned int storageSpaceNotification = 0x3614; // StreamMgrApi::StreamSpaceStatusItem
constexpr unsigned int recordStartNotification = 0x3615;  // StringItem: the REID
constexpr unsigned int recordStopNotification = 0x3616;   // StreamMgrApi::EventRecordItem

// Log level of a service.
constexpr unsigned int getLogLevelRequest = 0x3680; // no payload
constexpr unsigned int getLogLevelReply = 0x3681;   // UIntItem: the level
constexpr unsigned int setLogLevelRequest = 0x3682; // UIntItem: the level
constexpr unsigned int setLogLevelReply = 0x3683;   // BoolItem: false when there is no such level

// Subscriptions: UIntItem subscription id, UIntItem id of its notifications, and an item that may
// restrict it.
constexpr unsigned int subscribeRequest = 0x3684;
constexpr unsigned int subscribeReply = 0x3685; // BoolItem: false for an unknown subscription

// Operations on events and files. The first two are not answered; those without a reply of their
// own are answered with doneReply.
constexpr unsigned int deleteEventRequest = 0x3690;        // StringItem: the REID
constexpr unsigned int logFileChainRequest = 0x3691;       // UIntItem stream, BoolItem with wiped
constexpr unsigned int recordAfterTheFactRequest = 0x3692; // IntItem start, stop; UIntItem state
constexpr unsigned int recordAfterTheFactReply = 0x3693;   // BoolItem made, StringItem REID
constexpr unsigned int setTagsCompleteRequest = 0x3694;    // StringItem: the REID
constexpr unsigned int splitEventRequest = 0x3695;         // StringItem REID, UIntItem size
constexpr unsigned int splitEventReply = 0x3696;           // BoolItem accepted, UIntItem size used
constexpr unsigned int backupDatabaseRequest = 0x3697;     // StringItem: the path
constexpr unsigned int updateFileSizeRequest = 0x3698;     // IntItem: the number of the file
constexpr unsigned int doneReply = 0x3699;                 // BoolItem: whether it was done

// What the service is doing.
constexpr unsigned int statusRequest = 0x369A; // no payload
constexpr unsigned int statusReply = 0x369B;   // status::ServiceStatusItem

} // namespace workstation::api
