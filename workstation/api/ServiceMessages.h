// The ids of the messages that the stream manager service and its clients exchange.
#pragma once

namespace workstation {

// Control requests: the payload is the name of the request with its terminating NUL; no answer.
constexpr unsigned int quitRequest = 0x500;
constexpr unsigned int pingRequest = 0x3603;
constexpr unsigned int reapRequest = 0x360E;
constexpr unsigned int infoRequest = 0x360F;
constexpr unsigned int storageDumpRequest = 0x363A;

// Notifications, sent to those who have subscribed to them.
constexpr unsigned int storageSpaceNotification = 0x3614; // StreamMgrApi::StreamSpaceStatusItem
constexpr unsigned int recordStartNotification = 0x3615;  // StringItem: the REID
constexpr unsigned int recordStopNotification = 0x3616;   // StreamMgrApi::EventRecordItem

// Log level of a service.
constexpr unsigned int getLogLevelRequest = 0x3680; // no payload
constexpr unsigned int getLogLevelReply = 0x3681;   // UIntItem: the level
constexpr unsigned int setLogLevelRequest = 0x3682; // UIntItem: the level
constexpr unsigned int setLogLevelReply = 0x3683;   // BoolItem: false when there is no such level

} // namespace workstation
