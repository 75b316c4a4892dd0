// The service's memory: what was recorded into which stream file, and the events made of it.
#include "store/EventStore.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>

#include "pool/PoolLayout.h"
#include "store/DatabaseBackup.h"
#include "store/EventSchema.h"
#include "store/Reid.h"
#include "store/SplitGroups.h"
#include "store/Statement.h"
#include "store/Transaction.h"

namespace workstation::store {
namespace {

constexpr int wipedLinksKept = 1000; // of each stream

// --- rows ---

std::string const selectFile = "SELECT id, file_number, stream, start_time, stop_time, first_tick,"
                               " last_tick, size, finished, wiped FROM file ";

RecordedFile ReadFile(Statement const& row) {
    return {
        .id = row.Number(0),
        .fileNumber = row.Number<int>(1),
        .stream = row.Number<unsigned int>(2),
        .startTime = row.Number(3),
        .stopTime = row.Number(4),
        .firstTick = row.Number<unsigned int>(5),
        .lastTick = row.Number<unsigned int>(6),
        .size = row.Number<unsigned int>(7),
        .finished = row.Number<bool>(8),
        .wiped = row.Number<bool>(9),
    };
}

std::string const selectEvent =
    "SELECT reid, start_time, stop_time, streams, tags_complete, parent FROM event ";

Event ReadEvent(Statement const& row) {
    return {
        .reid = row.Text(0),
        .startTime = row.Number(1),
        .stopTime = row.Number(2),
        .streams = row.Number<unsigned int>(3),
        .tagsComplete = row.Number<bool>(4),
        .parent = row.Text(5),
    };
}

std::int64_t ReadFirstNumber(Statement const& row) {
    return row.Number(0);
}

// --- intervals ---

struct Interval {
    std::int64_t start;
    std::int64_t stop;
};

// A file that is still being recorded reaches until `now`.
Interval IntervalOf(RecordedFile const& file, std::int64_t now) {
    return {file.startTime, file.finished ? file.stopTime : std::max(file.startTime, now)};
}

bool Overlap(Interval a, Interval b) {
    return a.start <= b.stop && b.start <= a.stop;
}

unsigned int StreamBit(RecordedFile const& file) {
    return 1U << (file.stream - 1);
}

// The part of `wanted` that the files cover, and their streams. There is at least one file.
Event EventCovering(std::vector<RecordedFile> const& files, Interval wanted, std::int64_t now) {
    Interval covered = IntervalOf(files.front(), now);
    unsigned int streams = 0;
    for (RecordedFile const& file : files) {
        Interval const one = IntervalOf(file, now);
        covered = {std::min(covered.start, one.start), std::max(covered.stop, one.stop)};
        streams |= StreamBit(file);
    }
    Event event;
    event.startTime = std::max(covered.start, wanted.start);
    event.stopTime = std::max(event.startTime, std::min(covered.stop, wanted.stop));
    event.streams = streams;
    return event;
}

// --- splitting ---

std::vector<std::uint64_t> SizesForSplit(std::vector<RecordedFile> const& files) {
    std::vector<std::uint64_t> sizes(files.size());
    std::ranges::transform(files, sizes.begin(), [](RecordedFile const& file) {
        return file.finished ? file.size : pool::poolSlotSize;
    });
    return sizes;
}

std::vector<std::vector<RecordedFile>> SplitFiles(std::vector<RecordedFile> const& files,
                                                  unsigned int maxSizeKiB) {
    std::vector<std::vector<RecordedFile>> groups;
    auto first = files.begin();
    for (std::size_t const count :
         SplitGroups(SizesForSplit(files), std::uint64_t{maxSizeKiB} * 1024)) {
        auto const last = std::next(first, static_cast<std::ptrdiff_t>(count));
        groups.emplace_back(first, last);
        first = last;
    }
    return groups;
}

} // namespace

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
    if (former && !WipeUnlessHeld(*former)) {
        return std::nullopt;
    }
    Execute(database_,
            "INSERT INTO file (file_number, stream, start_time, stop_time, first_tick, last_tick)"
            " VALUES (?1, ?2, ?3, ?3, ?4, ?4)",
            fileNumber, stream, startTime, firstTick);
    std::int64_t const id = database_.LastRowId();
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

bool EventStore::Wipe(std::int64_t id) {
    std::lock_guard const lock(mutex_);
    Transaction transaction(database_);
    bool const isWiped = WipeUnlessHeld(id);
    transaction.Commit();
    return isWiped;
}

bool EventStore::WipeUnlessHeld(std::int64_t id) {
    auto const stream = QueryFirst(database_, ReadFirstNumber,
                                   "UPDATE file SET wiped = 1 WHERE id = ?1 AND wiped = 0"
                                   " AND id NOT IN (SELECT file FROM event_file) RETURNING stream",
                                   id);
    if (!stream) {
        return false;
    }
    Execute(database_,
            "DELETE FROM file WHERE stream = ?1 AND wiped = 1 AND id <= (SELECT id FROM file"
            " WHERE stream = ?1 AND wiped = 1 ORDER BY id DESC LIMIT 1 OFFSET ?2)",
            *stream, wipedLinksKept);
    return true;
}

std::vector<RecordedFile> EventStore::UnfinishedFiles() const {
    std::lock_guard const lock(mutex_);
    return QueryAll(database_, ReadFile,
                    selectFile + "WHERE finished = 0 AND wiped = 0 ORDER BY id");
}

std::vector<RecordedFile> EventStore::FilesInUse() const {
    std::lock_guard const lock(mutex_);
    return QueryAll(database_, ReadFile, selectFile + "WHERE wiped = 0 ORDER BY id");
}

std::vector<RecordedFile> EventStore::Chain(unsigned int stream, bool withWiped) const {
    std::lock_guard const lock(mutex_);
    return QueryAll(database_, ReadFile,
                    selectFile + "WHERE stream = ?1 AND wiped <= ?2 ORDER BY id", stream,
                    withWiped);
}

std::optional<RecordedFile> EventStore::OldestUnprotected() const {
    std::lock_guard const lock(mutex_);
    return QueryFirst(database_, ReadFile,
                      selectFile + "WHERE finished = 1 AND wiped = 0"
                                   " AND id NOT IN (SELECT file FROM event_file)"
                                   " ORDER BY id LIMIT 1");
}

// The ring begins at the oldest file that it can wipe or is still writing.
HeldFiles EventStore::FilesHeldByEvents() const {
    std::lock_guard const lock(mutex_);
    auto const ringStart = QueryFirst(
        database_, ReadFirstNumber,
        "SELECT id FROM file WHERE wiped = 0"
        " AND (finished = 0 OR id NOT IN (SELECT file FROM event_file)) ORDER BY id LIMIT 1");
    HeldFiles held;
    for (RecordedFile const& file :
         QueryAll(database_, ReadFile, selectFile + "WHERE id IN (SELECT file FROM event_file)")) {
        bool const isInBuffer = ringStart && file.id >= *ringStart;
        (isInBuffer ? held.inBuffer : held.behindBuffer).insert(file.fileNumber);
    }
    return held;
}

// --- system ticks ---

// The counter has 64 bits in the database, the last 32 are handed out.
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

// --- events ---

std::string EventStore::NewReid(std::int64_t now) const {
    std::lock_guard const lock(mutex_);
    return UnusedReid(now);
}

std::string EventStore::UnusedReid(std::int64_t time) const {
    std::string reid;
    do {
        reid = MakeReid(time);
    } while (Find(reid));
    return reid;
}

std::optional<Event> EventStore::RecordAfterTheFact(std::int64_t start, std::int64_t stop,
                                                    unsigned int streams, std::int64_t now) {
    if (start > stop) {
        return std::nullopt;
    }
    std::lock_guard const lock(mutex_);
    Transaction transaction(database_);
    auto files = QueryAll(database_, ReadFile, selectFile + "WHERE wiped = 0 ORDER BY id");
    std::erase_if(files, [&](RecordedFile const& file) {
        return (streams & StreamBit(file)) == 0 || !Overlap(IntervalOf(file, now), {start, stop});
    });
    if (files.empty()) {
        return std::nullopt;
    }
    Event event = EventCovering(files, {start, stop}, now);
    event.reid = UnusedReid(event.startTime);
    Insert(event, files);
    transaction.Commit();
    return event;
}

void EventStore::Insert(Event const& event, std::vector<RecordedFile> const& files) {
    Execute(database_,
            "INSERT INTO event (reid, start_time, stop_time, streams, tags_complete, parent)"
            " VALUES (?, ?, ?, ?, ?, ?)",
            event.reid, event.startTime, event.stopTime, event.streams, event.tagsComplete,
            event.parent);
    std::int64_t const id = database_.LastRowId();
    for (RecordedFile const& file : files) {
        Execute(database_, "INSERT INTO event_file (event, file) VALUES (?, ?)", id, file.id);
    }
}

std::optional<Event> EventStore::FindEvent(std::string const& reid) const {
    std::lock_guard const lock(mutex_);
    return Find(reid);
}

std::optional<Event> EventStore::Find(std::string const& reid) const {
    return QueryFirst(database_, ReadEvent, selectEvent + "WHERE reid = ?", reid);
}

std::vector<Event> EventStore::Events() const {
    std::lock_guard const lock(mutex_);
    return QueryAll(database_, ReadEvent, selectEvent + "ORDER BY id");
}

std::vector<RecordedFile> EventStore::FilesOf(std::string const& reid) const {
    std::lock_guard const lock(mutex_);
    return HeldBy(reid);
}

std::vector<RecordedFile> EventStore::HeldBy(std::string const& reid) const {
    return QueryAll(database_, ReadFile,
                    selectFile + "WHERE id IN (SELECT file FROM event_file JOIN event"
                                 " ON event.id = event_file.event WHERE reid = ?) ORDER BY id",
                    reid);
}

bool EventStore::DeleteEvent(std::string const& reid) {
    std::lock_guard const lock(mutex_);
    Execute(database_, "DELETE FROM event WHERE reid = ?", reid);
    return database_.Changes() > 0;
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
    auto const original = Find(reid);
    if (!original) {
        return std::nullopt;
    }
    auto const groups = SplitFiles(HeldBy(reid), maxSizeKiB);
    if (groups.size() <= 1) {
        return std::vector{*original};
    }
    std::vector<Event> parts;
    for (auto const& files : groups) {
        // What is still being recorded reaches until the end of the event.
        Event part =
            EventCovering(files, {original->startTime, original->stopTime}, original->stopTime);
        part.reid = UnusedReid(part.startTime);
        part.tagsComplete = original->tagsComplete;
        part.parent = original->reid;
        Insert(part, files);
        parts.push_back(part);
    }
    Execute(database_, "DELETE FROM event WHERE reid = ?", reid);
    transaction.Commit();
    return parts;
}

// --- the database ---

void EventStore::Backup(std::string const& path) const {
    BackUpDatabase(database_.Path(), path);
}

} // namespace workstation::store
