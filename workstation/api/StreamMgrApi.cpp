// Client calls of the stream manager service.
#include "StreamMgrApi.h"

#include <initializer_list>

#include "IpcMessage.h"
#include "LinxIpc.h"
#include "LinxServerNameList.h"
#include "api/ServiceMessages.h"
#include "ipc/Payload.h"

using namespace workstation;
using namespace workstation::api;

namespace {

// Longest wait of the calls that are not given one.
constexpr int confirmationTimeoutMs = 5000;
constexpr int splitTimeoutMs = 60000;

std::string const& ServiceName() {
    return LinxServerNameList::Instance()->Name(e_StreamMgr);
}

bool Tell(LinxIpc& ipc, unsigned int id, std::initializer_list<Item*> items) {
    IpcMessage message;
    return ipc::PackMessage(message, id, items) &&
           ipc.Request(ServiceName(), message, 0, -1, nullptr) == 0;
}

// True when an answer came in time and consists of these items.
bool Ask(LinxIpc& ipc, unsigned int id, std::initializer_list<Item*> question, int timeoutMs,
         unsigned int replyId, std::initializer_list<Item*> answer) {
    IpcMessage request;
    IpcMessage reply;
    return ipc::PackMessage(request, id, question) &&
           ipc.Request(ServiceName(), request, replyId, timeoutMs, &reply) == 0 &&
           ipc::UnpackMessage(reply, answer);
}

// Asks what is answered with yes or no only.
bool Confirm(LinxIpc& ipc, unsigned int id, std::initializer_list<Item*> question, int timeoutMs) {
    BoolItem done;
    return Ask(ipc, id, question, timeoutMs, doneReply, {&done}) && done.Value();
}

} // namespace

namespace StreamMgrApi {

bool DeleteEvent(std::string reid, LinxIpc& ipc) {
    StringItem event(std::move(reid));
    return Tell(ipc, deleteEventRequest, {&event});
}

bool LogFileChain(unsigned int stream, LinxIpc& ipc, bool withWiped) {
    UIntItem streamNumber(stream);
    BoolItem wiped(withWiped);
    return Tell(ipc, logFileChainRequest, {&streamNumber, &wiped});
}

bool RecordAfterTheFact(LinxIpc& ipc, long start, long stop, std::string& reid, int timeoutMs,
                        EventStreamState state) {
    IntItem startTime(static_cast<int>(start));
    IntItem stopTime(static_cast<int>(stop));
    UIntItem keptStreams(static_cast<unsigned int>(state));
    BoolItem made;
    StringItem event;
    if (!Ask(ipc, recordAfterTheFactRequest, {&startTime, &stopTime, &keptStreams}, timeoutMs,
             recordAfterTheFactReply, {&made, &event}) ||
        !made.Value()) {
        return false;
    }
    reid = event.Value();
    return true;
}

bool SetTagsComplete(std::string reid, LinxIpc& ipc, int timeoutMs) {
    StringItem event(std::move(reid));
    return Confirm(ipc, setTagsCompleteRequest, {&event}, timeoutMs);
}

bool SplitEvent(LinxIpc& ipc, std::string& reid, unsigned int& splitSize) {
    StringItem event(reid);
    UIntItem size(splitSize);
    BoolItem taken;
    UIntItem usedSize;
    if (!Ask(ipc, splitEventRequest, {&event, &size}, splitTimeoutMs, splitEventReply,
             {&taken, &usedSize}) ||
        !taken.Value()) {
        return false;
    }
    splitSize = usedSize.Value();
    return true;
}

bool BackupDatabase(LinxIpc& ipc, std::string path, int timeoutMs) {
    StringItem file(std::move(path));
    return Confirm(ipc, backupDatabaseRequest, {&file}, timeoutMs);
}

bool UpdateFileSize(LinxIpc& ipc, int fileNumber) {
    IntItem file(fileNumber);
    return Confirm(ipc, updateFileSizeRequest, {&file}, confirmationTimeoutMs);
}

} // namespace StreamMgrApi
