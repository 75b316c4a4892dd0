// Client calls of the stream manager service. Times are seconds since the epoch, time-outs
// milliseconds. Every call goes over the caller's endpoint and blocks until the service has
// answered or the time-out is over.
#pragma once

#include <string>

#include "Item.h"

class LinxIpc;

namespace StreamMgrApi {

// Which of its two streams an event made after the fact keeps.
enum EventStreamState {
    EventStreamRoutine = 0,  // only the routine stream
    EventStreamCritical = 1, // only the critical stream
    EventStreamBoth = 3,     // both
};

// The record of an event, as it comes with the notification that its recording stopped.
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

// True when the request to delete the event was sent.
bool DeleteEvent(std::string reid, LinxIpc& ipc);

// Has the service write the chain of stream files of a stream (counted from 0) to its log, with or
// without the wiped files. True when the request was sent.
bool LogFileChain(unsigned int stream, LinxIpc& ipc, bool withWiped);

// Makes an event of what was recorded from `start` to `stop`, and stores its identifier in `reid`.
bool RecordAfterTheFact(LinxIpc& ipc, long start, long stop, std::string& reid, int timeoutMs,
                        EventStreamState state);

// Marks the tags of the event complete.
bool SetTagsComplete(std::string reid, LinxIpc& ipc, int timeoutMs);

// Has the event split into sub-events no larger than `splitSize`: below 1024 in GiB, from 1024 on
// in KiB. Stores the size that the service really used in `splitSize`. True when the request was
// taken.
bool SplitEvent(LinxIpc& ipc, std::string& reid, unsigned int& splitSize);

// Has the service write a consistent copy of its event database to `path`, over an existing file.
bool BackupDatabase(LinxIpc& ipc, std::string path, int timeoutMs);

// Tells the service that the stated length of a stream file has changed. True when it confirmed.
bool UpdateFileSize(LinxIpc& ipc, int fileNumber);

} // namespace StreamMgrApi
