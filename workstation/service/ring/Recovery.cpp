// Brings the pool and the database in line at the start of the service.
#include "service/ring/Recovery.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "Failure.h"
#include "pool/StreamFile.h"
#include "pool/WriterLock.h"
#include "service/recording/RecordingSettings.h"
#include "service/ring/FlushMark.h"
#include "service/ring/InterruptedFile.h"
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
    SlotContents Restore(store::RecordedFile const& file);
    void Finish(store::RecordedFile const& file, SlotContents const& contents);
    void Empty(int number);
    std::uint32_t Length(int number) const { return image_.Get(number, pool::EntryWord::length); }

    pool::PoolSession& session_;
    pool::PoolImage& image_;
    store::EventStore& store_;
};

void Recovery::FreeAbandonedFiles() {
    for (int number = 1; number <= image_.FileCount(); ++number) {
        pool::ResetAbandonedController(image_, number);
    }
}

// The pool first, then the database: whenever this is cut off, the next start repeats it.
void Recovery::FinishRecordings() {
    auto const files = store_.UnfinishedFiles();
    std::vector<SlotContents> contents;
    contents.reserve(files.size());
    for (store::RecordedFile const& file : files) {
        contents.push_back(Restore(file));
    }
    image_.SyncTable();
    for (std::size_t i = 0; i < files.size(); ++i) {
        Finish(files[i], contents[i]);
    }
    store_.EndInterruptedRecordings();
}

// States what was recorded. A file that cannot be read, or that another process
// writes, keeps the length that is stated: the service starts all the same.
SlotContents Recovery::Restore(store::RecordedFile const& file) {
    if (!image_.Has(file.fileNumber)) {
        return {};
    }
    if (image_.Get(file.fileNumber, pool::EntryWord::dbMatch) != 0) {
        Empty(file.fileNumber); // the former contents, which the database knew: the table is old
    }
    try {
        auto const stream = pool::StreamFile::OpenForWriting(
            session_, file.fileNumber, StreamMgrFileMgmnt::ControlPrimaryThread);
        std::uint32_t const length =
            RecordedLength(*stream, file.id, ReadFlushMarks(image_, file.stream));
        stream->Sync(); // after a kill it need not be durable yet
        stream->SetLength(static_cast<long>(length));
        return ReadContents(*stream);
    } catch (Failure const& failure) {
        LogForStream(static_cast<int>(file.stream),
                     std::string("interrupted recording: ") + failure.what(), log::Severity::error);
        return {Length(file.fileNumber), std::nullopt};
    }
}

void Recovery::Finish(store::RecordedFile const& file, SlotContents const& contents) {
    if (!image_.Has(file.fileNumber)) {
        store_.Wipe(file.id);
        return;
    }
    if (contents.ticks) {
        store_.SetFirstTick(file.id, contents.ticks->first.tick);
    }
    recording::TickStamp const last =
        contents.ticks ? contents.ticks->last
                       : recording::TickStamp{file.firstTick, static_cast<int>(file.startTime)};
    store_.FinishFile(file.id, static_cast<unsigned int>(contents.size), last.time, last.tick);
    LogForStream(static_cast<int>(file.stream), "finished the interrupted recording into " +
                                                    pool::StreamFileName(file.fileNumber) + ", " +
                                                    std::to_string(contents.size) + " bytes");
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
