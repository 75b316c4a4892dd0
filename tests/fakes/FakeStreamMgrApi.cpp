// The client calls of the service, scripted.
#include "StreamMgrApi.h"

#include <array>

#include "FakePlatform.h"
#include "Show.h"

namespace StreamMgrApi {

namespace {

// Records the call with its endpoint first. True unless scripted.
template <typename... Arguments>
bool Ask(char const* call, LinxIpc& ipc, Arguments const&... arguments) {
    FakePlatform& platform = FakePlatform::Get();
    std::string shown = platform.NameOf(ipc);
    ((shown += ", " + Show(arguments)), ...);
    return platform.Ask("", call, shown, 1) != 0;
}

std::array<Item*, 5> Members(EventRecordItem& record) {
    return {&record.reid, &record.tagsComplete, &record.startTime, &record.stopTime,
            &record.streams};
}

} // namespace

unsigned char* EventRecordItem::Encode(unsigned char* out) {
    for (Item* const member : Members(*this)) {
        out = member->Encode(out);
    }
    return out;
}

unsigned char* EventRecordItem::Decode(unsigned char* in) {
    for (Item* const member : Members(*this)) {
        in = member->Decode(in);
    }
    return in;
}

unsigned int EventRecordItem::Size() {
    unsigned int size = 0;
    for (Item* const member : Members(*this)) {
        size += member->Size();
    }
    return size;
}

// NOLINTBEGIN(performance-unnecessary-value-param): the signatures are those of the seam.
bool DeleteEvent(std::string reid, LinxIpc& ipc) {
    return Ask("DeleteEvent", ipc, reid);
}

bool LogFileChain(unsigned int stream, LinxIpc& ipc, bool withWiped) {
    return Ask("LogFileChain", ipc, stream, withWiped);
}

bool RecordAfterTheFact(LinxIpc& ipc, long start, long stop, std::string& reid, int timeoutMs,
                        EventStreamState state) {
    bool const made =
        Ask("RecordAfterTheFact", ipc, start, stop, reid, timeoutMs, static_cast<int>(state));
    if (made) {
        reid = FakePlatform::Get().newReid;
    }
    return made;
}

bool SetTagsComplete(std::string reid, LinxIpc& ipc, int timeoutMs) {
    return Ask("SetTagsComplete", ipc, reid, timeoutMs);
}

bool SplitEvent(LinxIpc& ipc, std::string& reid, unsigned int& splitSize) {
    bool const taken = Ask("SplitEvent", ipc, reid, splitSize);
    if (auto const used = FakePlatform::Get().usedSplitSize; taken && used) {
        splitSize = *used;
    }
    return taken;
}

bool BackupDatabase(LinxIpc& ipc, std::string path, int timeoutMs) {
    return Ask("BackupDatabase", ipc, path, timeoutMs);
}

bool UpdateFileSize(LinxIpc& ipc, int fileNumber) {
    return Ask("UpdateFileSize", ipc, fileNumber);
}
// NOLINTEND(performance-unnecessary-value-param)

} // namespace StreamMgrApi
