// Client calls of the stream manager service. Times are seconds since the epoch, time-outs
// milliseconds. A call sends its request from the caller's endpoint and waits until the service has
// answered or the time-out is over; DeleteEvent and LogFileChain only send, and do not wait.
#pragma once

#include <string>

#include "Item.h"

class LinxIpc;

namespace StreamMgrApi {

// The streams that an event made after the fact keeps, of its two.
enum EventStreamState {
    EventStreamRoutine = 0,  // only the routine stream
    EventStreamCritical = 1, // only the critical stream
    EventStreamBoth = 3,     // both
};

// The record of an event: the payload of the notification that its recording stopped.
class EventRecordItem : public Item {
public:
    StringItem reid;
    BoolItem tagsComplete;
    IntItem startTime;
    IntItem stopTime;
    UIntItem streams; // bit n set: stream n + 1 is kept

    unsigned char* Encode(unsigned char* out) override;
    unsigned char* Decode(unsigned char* in) override;
    unsigned int Size() override;
};

// Requests that the event is deleted. True when the request was sent.
bool DeleteEvent(std::string reid, LinxIpc& ipc);

// Requests that the service writes the chain of stream files of a stream (counted from 0) to its
// log, with or without the wiped files. True when the request was sent.
bool LogFileChain(unsigned int stream, LinxIpc& ipc, bool withWiped);

// Makes an event of what was recorded from `start` to `stop`, and stores its identifier in `reid`.
// True when the event was made.
bool RecordAfterTheFact(LinxIpc& ipc, long start, long stop, std::string& reid, int timeoutMs,
                        EventStreamState state);

// Marks the tags of the event complete. True when the service confirmed it.
bool SetTagsComplete(std::string reid, LinxIpc& ipc, int timeoutMs);

// Splits the event into sub-events no larger than `splitSize`, which counts GiB, or KiB when it is
// a multiple of 1024: a caller with MiB passes 1024 times as many. Stores the size that the service
// uses in `splitSize`. True when the service accepted the request.
bool SplitEvent(LinxIpc& ipc, std::string& reid, unsigned int& splitSize);

// Makes the service write a consistent copy of its event database to `path`; an existing file is
// replaced. True when the copy was written.
bool BackupDatabase(LinxIpc& ipc, std::string path, int timeoutMs);

// Notifies the service that the stated length of a stream file has changed. True when the service
// confirmed it.
bool UpdateFileSize(LinxIpc& ipc, int fileNumber);

} // namespace StreamMgrApi
