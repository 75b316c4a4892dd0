// Client calls of the stream manager service.
#include "StreamMgrApi.h"

#include <initializer_list>

#include "IpcMessage.h"
#include "LinxIpc.h"
#include "LinxServerNameList.h"
#include "api/ServiceMessages.h"
#include "api/ServiceRequest.h"
#include "ipc/Payload.h"

using namespace workstation;
using namespace workstation::api;

namespace {

// Longest wait of the calls without a time-out parameter.
constexpr int confirmationTimeoutMs = 5000;
constexpr int splitTimeoutMs = 60000;

RemoteService StreamMgr(LinxIpc& ipc, int timeoutMs) {
    return {ipc, LinxServerNameList::Instance()->Name(e_StreamMgr), timeoutMs};
}

// A request that is not answered. True when it was sent.
bool Send(LinxIpc& ipc, unsigned int id, std::initializer_list<Item*> request) {
    IpcMessage message;
    return ipc::PackMessage(message, id, request) &&
           ipc.Request(LinxServerNameList::Instance()->Name(e_StreamMgr), message, 0, -1,
                       nullptr) == 0;
}

// A request that is answered with whether it was done.
bool Confirm(RemoteService const& service, unsigned int id, std::initializer_list<Item*> request) {
    BoolItem done;
    return Ask(service, id, request, doneReply, {&done}) == Answer::received && done.Value();
}

} // namespace

namespace StreamMgrApi {

bool DeleteEvent(std::string reid, LinxIpc& ipc) {
    StringItem event(std::move(reid));
    return Send(ipc, deleteEventRequest, {&event});
}

bool LogFileChain(unsigned int stream, LinxIpc& ipc, bool withWiped) {
    UIntItem streamNumber(stream);
    BoolItem wiped(withWiped);
    return Send(ipc, logFileChainRequest, {&streamNumber, &wiped});
}

bool RecordAfterTheFact(LinxIpc& ipc, long start, long stop, std::string& reid, int timeoutMs,
                        EventStreamState state) {
    IntItem startTime(static_cast<int>(start));
    IntItem stopTime(static_cast<int>(stop));
    UIntItem keptStreams(static_cast<unsigned int>(state));
    BoolItem made;
    StringItem event;
    Answer const answer =
        Ask(StreamMgr(ipc, timeoutMs), recordAfterTheFactRequest,
            {&startTime, &stopTime, &keptStreams}, recordAfterTheFactReply, {&made, &event});
    if (answer != Answer::received || !made.Value()) {
        return false;
    }
    reid = event.Value();
    return true;
}

bool SetTagsComplete(std::string reid, LinxIpc& ipc, int timeoutMs) {
    StringItem event(std::move(reid));
    return Confirm(StreamMgr(ipc, timeoutMs), setTagsCompleteRequest, {&event});
}

bool SplitEvent(LinxIpc& ipc, std::string& reid, unsigned int& splitSize) {
    StringItem event(reid);
    UIntItem size(splitSize);
    BoolItem accepted;
    UIntItem usedSize;
    Answer const answer = Ask(StreamMgr(ipc, splitTimeoutMs), splitEventRequest, {&event, &size},
                              splitEventReply, {&accepted, &usedSize});
    if (answer != Answer::received || !accepted.Value()) {
        return false;
    }
    splitSize = usedSize.Value();
    return true;
}

bool BackupDatabase(LinxIpc& ipc, std::string path, int timeoutMs) {
    StringItem file(std::move(path));
    return Confirm(StreamMgr(ipc, timeoutMs), backupDatabaseRequest, {&file});
}

bool UpdateFileSize(LinxIpc& ipc, int fileNumber) {
    IntItem file(fileNumber);
    return Confirm(StreamMgr(ipc, confirmationTimeoutMs), updateFileSizeRequest, {&file});
}

} // namespace StreamMgrApi
