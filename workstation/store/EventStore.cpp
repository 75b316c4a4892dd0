// The event database of the service: what was recorded into which stream file, and the events.
#include "store/EventStore.h"

#include "store/DatabaseBackup.h"
#include "store/EventInterval.h"
#include "store/EventSchema.h"
#include "store/SplitGroups.h"
#include "store/Statement.h"
#include "store/Transaction.h"

namespace workstation::store {

EventStore::EventStore(std::string const& path)
    : database_(path, Database::Mode::create) {
    PrepareEventDatabase(database_);
}

// --- stream files ---

std::optional<std::int64_t> EventStore::BeginFile(unsigned int stream, int fileNumber,
                                                  std::int64_t startTime, unsigned int firstTick) {
    std::lock_guard const lock(mutex_);
    Transaction transaction(database_);
    auto const former =
        QueryFirst(database_, ReadFirstNumber,
                   "SELECT id FROM file WHERE file_number = ? AND wiped = 0", fileNumber);
    if (former && !WipeFile(database_, *former)) {
        return std::nullopt;
    }
    std::int64_t const id = InsertFile(database_, {.fileNumber = fileNumber,
                                                   .stream = stream,
                                                   .startTime = startTime,
                                                   .firstTick = firstTick});
    transaction.Commit();
    return id;
}

bool EventStore::FinishFile(std::int64_t id, unsigned int size, std::int64_t stopTime,
                            unsigned int lastTick) {
    std::lock_guard const lock(mutex_);
    Execute(
        database_,
        "UPDATE file SET size = ?2, stop_time = max(start_time, ?3), last_tick = ?4, finished = 1"
        " WHERE id = ?1 AND wiped = 0",
        id, size, stopTime, lastTick);
    return database_.Changes() > 0;
}

bool EventStore::UpdateFileSize(int fileNumber, unsigned int size) {
    std::lock_guard const lock(mutex_);
    Execute(database_, "UPDATE file SET size = ?2 WHERE file_number = ?1 AND wiped = 0", fileNumber,
            size);
    return database_.Changes() > 0;
}

void EventStore::SetFirstTick(std::int64_t id, unsigned int firstTick) {
    std::lock_guard const lock(mutex_);
    Execute(database_, "UPDATE file SET first_tick = ?2 WHERE id = ?1", id, firstTick);
}

bool EventStore::Wipe(std::int64_t id) {
    std::lock_guard const lock(mutex_);
    Transaction transaction(database_);
    bool const isWiped = WipeFile(database_, id);
    transaction.Commit();
    return isWiped;
}

std::vector<RecordedFile> EventStore::UnfinishedFiles() const {
    std::lock_guard const lock(mutex_);
    return SelectFiles(database_, "finished = 0 AND wiped = 0");
}

std::vector<RecordedFile> EventStore::FilesInUse() const {
    std::lock_guard const lock(mutex_);
    return SelectFiles(database_, "wiped = 0");
}

std::vector<RecordedFile> EventStore::Chain(unsigned int stream, bool withWiped) const {
    std::lock_guard const lock(mutex_);
    return SelectFiles(database_, "stream = ?1 AND wiped <= ?2", stream, withWiped);
}

std::vector<RecordedFile> EventStore::UnprotectedFiles() const {
    std::lock_guard const lock(mutex_);
    return SelectFiles(database_,
                       "finished = 1 AND wiped = 0 AND id NOT IN (SELECT file FROM event_file)");
}

// The buffer begins at the oldest file that can be wiped or is still being recorded.
HeldFiles EventStore::FilesHeldByEvents() const {
    std::lock_guard const lock(mutex_);
    auto const bufferStart = QueryFirst(
        database_, ReadFirstNumber,
        "SELECT id FROM file WHERE wiped = 0"
        " AND (finished = 0 OR id NOT IN (SELECT file FROM event_file)) ORDER BY id LIMIT 1");
    HeldFiles held;
    for (RecordedFile const& file : SelectFiles(database_, "id IN (SELECT file FROM event_file)")) {
        bool const isInBuffer = bufferStart && file.id >= *bufferStart;
        (isInBuffer ? held.inBuffer : held.notInBuffer).insert(file.fileNumber);
    }
    return held;
}

// --- system ticks ---

// The counter has 64 bits in the database. Its lower 32 bits are the numbers of ticks.
unsigned int EventStore::ReserveTicks(unsigned int stream, unsigned int count) {
    std::lock_guard const lock(mutex_);
    Transaction transaction(database_);
    auto const first = QueryFirst(
        database_, ReadFirstNumber,
        "INSERT INTO tick_counter (stream, first, next) VALUES (?1, 0, ?2)"
        " ON CONFLICT (stream) DO UPDATE SET first = next, next = next + ?2 RETURNING first",
        stream, count);
    transaction.Commit();
    return static_cast<unsigned int>(*first);
}

void EventStore::ReturnTicks(unsigned int stream, unsigned int nextUnused) {
    std::lock_guard const lock(mutex_);
    Execute(database_,
            "UPDATE tick_counter SET first = next - ((next - ?2) & 0xFFFFFFFF),"
            " next = next - ((next - ?2) & 0xFFFFFFFF)"
            " WHERE stream = ?1 AND (next - ?2) & 0xFFFFFFFF <= next - first",
            stream, nextUnused);
}

// --- recordings ---

std::string EventStore::BeginRecording(unsigned int stream, std::int64_t now) {
    std::lock_guard const lock(mutex_);
    Transaction transaction(database_);
    std::string reid = UnusedReid(database_, now);
    InsertRecording(database_, {.reid = reid, .stream = stream, .startTime = now});
    transaction.Commit();
    return reid;
}

void EventStore::EndRecording(std::string const& reid, std::int64_t stopTime) {
    std::lock_guard const lock(mutex_);
    StopRecording(database_, reid, stopTime);
}

void EventStore::EndInterruptedRecordings() {
    std::lock_guard const lock(mutex_);
    StopInterruptedRecordings(database_);
}

std::vector<RecordingRow> EventStore::Recordings() const {
    std::lock_guard const lock(mutex_);
    return SelectRecordings(database_);
}

bool EventStore::IsRecording(std::string const& reid) const {
    std::lock_guard const lock(mutex_);
    return HasRecording(database_, reid);
}

// --- events ---

std::optional<Event> EventStore::RecordAfterTheFact(std::int64_t start, std::int64_t stop,
                                                    unsigned int streams, std::int64_t now) {
    if (start > stop) {
        return std::nullopt;
    }
    std::lock_guard const lock(mutex_);
    Transaction transaction(database_);
    auto files = SelectFiles(database_, "wiped = 0");
    std::erase_if(files, [&](RecordedFile const& file) {
        return (streams & StreamBit(file)) == 0 || !Overlaps(file, {start, stop}, now);
    });
    if (files.empty()) {
        return std::nullopt;
    }
    Event event = EventCovering(files, {start, stop}, now);
    event.reid = UnusedReid(database_, event.startTime);
    InsertEvent(database_, event, files);
    transaction.Commit();
    return event;
}

std::optional<Event> EventStore::FindEvent(std::string const& reid) const {
    std::lock_guard const lock(mutex_);
    return store::FindEvent(database_, reid);
}

std::vector<Event> EventStore::Events() const {
    std::lock_guard const lock(mutex_);
    return SelectEvents(database_);
}

std::vector<RecordedFile> EventStore::FilesOf(std::string const& reid) const {
    std::lock_guard const lock(mutex_);
    return SelectFilesOf(database_, reid);
}

bool EventStore::DeleteEvent(std::string const& reid) {
    std::lock_guard const lock(mutex_);
    return RemoveEvent(database_, reid);
}

bool EventStore::SetTagsComplete(std::string const& reid) {
    std::lock_guard const lock(mutex_);
    Execute(database_, "UPDATE event SET tags_complete = 1 WHERE reid = ?", reid);
    return database_.Changes() > 0;
}

std::optional<std::vector<Event>> EventStore::SplitEvent(std::string const& reid,
                                                         unsigned int maxSizeKiB) {
    std::lock_guard const lock(mutex_);
    Transaction transaction(database_);
    auto const original = store::FindEvent(database_, reid);
    if (!original) {
        return std::nullopt;
    }
    auto const groups = SplitFiles(SelectFilesOf(database_, reid), maxSizeKiB);
    if (groups.size() <= 1) {
        return std::vector{*original};
    }
    std::vector<Event> parts;
    for (auto const& files : groups) {
        // A file that is still being recorded reaches until the end of the event.
        Event part =
            EventCovering(files, {original->startTime, original->stopTime}, original->stopTime);
        part.reid = UnusedReid(database_, part.startTime);
        part.tagsComplete = original->tagsComplete;
        part.parent = original->reid;
        InsertEvent(database_, part, files);
        parts.push_back(part);
    }
    RemoveEvent(database_, reid);
    transaction.Commit();
    return parts;
}

// --- the database ---

void EventStore::Backup(std::string const& path) const {
    BackUpDatabase(database_.Path(), path);
}

} // namespace workstation::store
