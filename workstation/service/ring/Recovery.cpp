// Bringing pool and database in line at the start of the service.
#include "service/ring/Recovery.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "StreamFileAccess.h"
#include "TsHelper.h"
#include "log/PlatformLog.h"
#include "pool/SeamSession.h"
#include "pool/WriterLock.h"
#include "service/recording/RecordOption.h"
#include "service/ring/KnownFile.h"

namespace workstation::service::ring {
namespace {

class Recovery {
public:
    explicit Recovery(store::EventStore& store)
        : store_(store)
        , image_(pool::SeamSession().Pool()) {}

    void FreeAbandonedFiles();
    void FinishRecordings();
    void CompareLengths();
    void FinishWipes();

private:
    void Finish(store::RecordedFile const& file);
    void Empty(int number);
    std::uint32_t Length(int number) const { return image_.Get(number, pool::EntryWord::length); }

    store::EventStore& store_;
    pool::PoolImage& image_;
};

using Ticks = std::vector<std::pair<unsigned int, StreamMetadata>>;

Ticks TicksIn(int number, std::uint32_t length) {
    StreamFileAccess file(number, 0);
    std::vector<unsigned char> bytes(length);
    int const got = file.IsOpen() ? file.Read(bytes.data(), length, false) : 0;
    bytes.resize(static_cast<std::size_t>(std::max(got, 0)));
    return TsHelper(bytes).SystemTick(TsHelper::StreamSystickSystem, 0);
}

void Recovery::FreeAbandonedFiles() {
    for (int number = 1; number <= image_.FileCount(); ++number) {
        pool::ResetAbandonedController(image_, number);
    }
}

void Recovery::FinishRecordings() {
    for (store::RecordedFile const& file : store_.UnfinishedFiles()) {
        if (image_.Has(file.fileNumber)) {
            Finish(file);
        } else {
            store_.Wipe(file.id);
        }
    }
}

// The table states what was written. Where the ticks begin with another one than the recording did,
// it is what the file held before: the recording had not written anything yet.
void Recovery::Finish(store::RecordedFile const& file) {
    Ticks const ticks = TicksIn(file.fileNumber, Length(file.fileNumber));
    bool const isOther = !ticks.empty() && ticks.front().second.tick != file.firstTick;
    if (isOther) {
        Empty(file.fileNumber);
    }
    std::uint32_t const length = Length(file.fileNumber);
    bool const hasTicks = length != 0 && !ticks.empty();
    store_.FinishFile(file.id, length, hasTicks ? ticks.back().second.time : file.startTime,
                      hasTicks ? ticks.back().second.tick : file.firstTick);
    log::LogNotification("stream " + std::to_string(file.stream) +
                         ": finished the interrupted recording into stream file " +
                         std::to_string(file.fileNumber) + ", " + std::to_string(length) +
                         " bytes");
}

void Recovery::CompareLengths() {
    for (store::RecordedFile const& file : store_.FilesInUse()) {
        if (!image_.Has(file.fileNumber)) {
            store_.Wipe(file.id);
            continue;
        }
        std::uint32_t const length = Length(file.fileNumber);
        if (length == 0 && store_.Wipe(file.id)) {
            continue;
        }
        if (length != file.size) {
            store_.UpdateFileSize(file.fileNumber, length);
        }
        MarkKnown(file.fileNumber, true);
    }
}

// The database wipes first. A file whose last recording is wiped and which still is as the database
// knew it was about to be emptied.
void Recovery::FinishWipes() {
    std::map<int, store::RecordedFile> newest; // by number
    for (int stream = 1; stream <= recording::recordStreamCount; ++stream) {
        for (store::RecordedFile const& file :
             store_.Chain(static_cast<unsigned int>(stream), true)) {
            auto const [entry, isNew] = newest.try_emplace(file.fileNumber, file);
            if (!isNew && entry->second.id < file.id) {
                entry->second = file;
            }
        }
    }
    for (auto const& [number, file] : newest) {
        if (image_.Has(number) && file.wiped && Length(number) == file.size && file.size != 0 &&
            image_.Get(number, pool::EntryWord::dbMatch) != 0) {
            Empty(number);
        }
    }
}

void Recovery::Empty(int number) {
    StreamFileAccess file(number, false, StreamMgrFileMgmnt::ControlPrimaryThread);
    if (file.IsOpen() && file.Truncate(0) == 0) {
        MarkKnown(number, false);
    }
}

} // namespace

void RecoverRecordings(store::EventStore& store) {
    Recovery recovery(store);
    recovery.FreeAbandonedFiles();
    recovery.FinishRecordings();
    recovery.CompareLengths();
    recovery.FinishWipes();
}

} // namespace workstation::service::ring
