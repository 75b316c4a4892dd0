// Brings the pool and the database in line at the start of the service.
#include "service/ring/Recovery.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "Failure.h"
#include "TsHelper.h"
#include "pool/StreamFile.h"
#include "pool/WriterLock.h"
#include "service/recording/RecordingSettings.h"
#include "service/ring/StreamLog.h"

namespace workstation::service::ring {
namespace {

class Recovery {
public:
    Recovery(pool::PoolSession& session, store::EventStore& store)
        : session_(session)
        , image_(session.Pool())
        , store_(store) {}

    void FreeAbandonedFiles();
    void FinishRecordings();
    void CompareLengths();
    void FinishWipes();

private:
    void Finish(store::RecordedFile const& file);
    void Empty(int number);
    std::uint32_t Length(int number) const { return image_.Get(number, pool::EntryWord::length); }

    pool::PoolSession& session_;
    pool::PoolImage& image_;
    store::EventStore& store_;
};

using Ticks = std::vector<std::pair<unsigned int, StreamMetadata>>;

// Empty also for a file that cannot be read: the service starts all the same.
Ticks TicksIn(pool::PoolSession& session, int number) {
    std::vector<unsigned char> bytes;
    try {
        auto const file = pool::StreamFile::OpenForReading(session, number);
        bytes.resize(file->Length());
        bytes.resize(file->Read(bytes.data(), static_cast<unsigned int>(bytes.size()), false));
    } catch (Failure const&) {
        return {};
    }
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

// The table states what was written. If the first tick is not the one that the recording began
// with, the file still has its former contents: the recording had not written anything yet.
void Recovery::Finish(store::RecordedFile const& file) {
    Ticks const ticks = TicksIn(session_, file.fileNumber);
    bool const isOther = !ticks.empty() && ticks.front().second.tick != file.firstTick;
    if (isOther) {
        Empty(file.fileNumber);
    }
    std::uint32_t const length = Length(file.fileNumber);
    bool const hasTicks = length != 0 && !ticks.empty();
    store_.FinishFile(file.id, length, hasTicks ? ticks.back().second.time : file.startTime,
                      hasTicks ? ticks.back().second.tick : file.firstTick);
    LogForStream(static_cast<int>(file.stream), "finished the interrupted recording into " +
                                                    pool::StreamFileName(file.fileNumber) + ", " +
                                                    std::to_string(length) + " bytes");
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
        image_.MarkKnown(file.fileNumber, true);
    }
}

// A file is wiped in the database first. If its last recording is wiped and the file is unchanged
// since the database knew it, it was about to be emptied.
void Recovery::FinishWipes() {
    std::map<int, store::RecordedFile> newest; // by file number
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
    auto const file = pool::StreamFile::TryOpenForWriting(session_, number,
                                                          StreamMgrFileMgmnt::ControlPrimaryThread);
    if (file) {
        file->SetLength(0);
        image_.MarkKnown(number, false);
    }
}

} // namespace

void RecoverRecordings(pool::PoolSession& session, store::EventStore& store) {
    Recovery recovery(session, store);
    recovery.FreeAbandonedFiles();
    recovery.FinishRecordings();
    recovery.CompareLengths();
    recovery.FinishWipes();
}

} // namespace workstation::service::ring
